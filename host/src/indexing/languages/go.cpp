// Go.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_go();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::go};

// "(r *Store[T])" is a method of Store.
std::string receiver_type(TSNode receiver, const Source& source) {
  std::string text = source.line(receiver);
  text.resize(std::min(text.find('['), text.size()));
  text.resize(text.find_last_not_of(" )") + 1);
  return text.substr(text.find_last_of(" *(.") + 1);
}

// "const a, b = 1, 2" declares two.
void describe_constants(TSNode node, const Source& source, std::vector<Declared>& out) {
  std::vector<TSNode> names;
  for (const Child& child : children(node)) {
    if (child.field == "name" && ts_node_is_named(child.node)) names.push_back(child.node);
  }
  names.resize(std::min(names.size(), MOST_DECLARATORS));
  for (const TSNode name : names) {
    out.push_back({.kind = "constant",
                   .name = source.line(name),
                   .signature = names.size() == 1
                                    ? constant_header(node, ts_node_end_byte(name), source)
                                    : ""});
  }
  std::erase_if(out, [](const Declared& constant) { return constant.name == "_"; });
}

void describe_go(const Found& found, std::span<const Enclosing> /*enclosing*/, const Source& source,
                 std::vector<Declared>& out) {
  if (found.kind == "constant") {
    describe_constants(found.node, source, out);
    return;
  }
  Declared declared{.kind = std::string(found.kind), .name = source.line(found.name)};
  if (declared.name == "_") return;
  if (found.kind == "struct" || found.kind == "interface") {
    const TSNode parameters = field(found.node, "type_parameters");
    if (!ts_node_is_null(parameters)) declared.signature = source.line(parameters);
  } else {
    declared.signature = header(found.node, ts_node_end_byte(found.name), source);
  }
  if (const TSNode receiver = field(found.node, "receiver"); !ts_node_is_null(receiver)) {
    declared.qualifier = receiver_type(receiver, source);
  }
  out.push_back(std::move(declared));
}

// "// Package name ..." above the clause.
std::optional<ModuleDocstring> package_comment(TSNode root, const Source& source,
                                               const Comments& comments) {
  for (const Child& child : children(root)) {
    if (type_of(child.node) != "package_clause") continue;
    std::optional<std::string> text = comments.above(ts_node_start_byte(child.node));
    if (!text || !text->starts_with("Package ")) return std::nullopt;
    const TSNode name = ts_node_named_child(child.node, 0);
    return ModuleDocstring{range_of(child.node), std::move(*text), source.line(name)};
  }
  return std::nullopt;
}

}  // namespace

constinit const Language languages::go = {
    .name = "go",
    .grammar = tree_sitter_go,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_go,
    .module_docstring = package_comment,
};

}  // namespace velmora::host::indexing
