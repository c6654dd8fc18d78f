// Go.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

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

// What follows a name that stands apart from it: "[]int" of "var all []int" is not written to it.
std::string apart(std::string header, std::uint32_t from, const Source& source) {
  const bool bracket = header.starts_with('[') || header.starts_with('(');
  if (bracket && source.text[from] == ' ') header.insert(0, 1, ' ');
  return header;
}

// The function that a variable holds, or a null node.
TSNode function_value(TSNode declaration) {
  const TSNode values = field(declaration, "value");
  if (ts_node_is_null(values) || ts_node_named_child_count(values) != 1) return {};
  const TSNode value = ts_node_named_child(values, 0);
  return type_of(value) == "func_literal" ? value : TSNode{};
}

// "const a, b = 1, 2" declares two. A variable that holds a function is called as one.
void describe_constants(TSNode node, const Source& source, std::vector<Declared>& out) {
  std::vector<TSNode> names;
  for (const Child& child : children(node)) {
    if (child.field == "name" && ts_node_is_named(child.node)) names.push_back(child.node);
  }
  names.resize(std::min(names.size(), MOST_DECLARATORS));
  if (const TSNode function = function_value(node);
      !ts_node_is_null(function) && names.size() == 1) {
    out.push_back(
        {.kind = "function",
         .name = source.line(names.front()),
         .signature = header(function, ts_node_start_byte(field(function, "parameters")), source)});
    return;
  }
  for (const TSNode name : names) {
    out.push_back({.kind = "constant", .name = source.line(name)});
    if (names.size() > 1) continue;
    const std::uint32_t from = ts_node_end_byte(name);
    out.back().signature = apart(constant_header(node, from, source), from, source);
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
    const std::uint32_t from = ts_node_end_byte(found.name);
    declared.signature = header(found.node, from, source);
    if (found.kind == "type")
      declared.signature = apart(std::move(declared.signature), from, source);
  }
  if (const TSNode receiver = field(found.node, "receiver"); !ts_node_is_null(receiver)) {
    declared.qualifier = receiver_type(receiver, source);
  }
  out.push_back(std::move(declared));
}

// The comment above the clause, unless it is about the file.
std::optional<ModuleDocstring> package_comment(TSNode root, const Source& source,
                                               const Comments& comments) {
  for (const Child& child : children(root)) {
    if (type_of(child.node) != "package_clause") continue;
    std::optional<std::string> text = comments.above(ts_node_start_byte(child.node));
    if (!text || text->starts_with("Code generated ")) return std::nullopt;
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
