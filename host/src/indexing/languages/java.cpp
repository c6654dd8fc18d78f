// Java.
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/java_family.h"
#include "indexing/languages.h"
#include "indexing/names.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_java();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::java};

void describe_java(const Found& found, std::span<const Enclosing> /*enclosing*/,
                   const Source& source, std::vector<Declared>& out) {
  if (found.kind == "constant") {
    const bool interface = type_of(found.node) == "constant_declaration";
    if (interface ||
        (has_modifier(found.node, "static", source) && has_modifier(found.node, "final", source))) {
      describe_constants(found.node, source, out);
      std::erase_if(out, [](const Declared& one) { return !is_in_capitals(one.name); });
    }
    return;
  }
  const std::uint32_t from = ts_node_end_byte(found.name);
  const bool callable = found.kind == "method" || found.kind == "constructor";
  out.push_back({.kind = std::string(found.kind),
                 .name = source.line(found.name),
                 .signature = callable ? callable_signature(found.node, from, "type", source)
                                       : header(found.node, from, source)});
  if (const TSNode types = field(found.node, "type_parameters");
      callable && !ts_node_is_null(types)) {
    // They stand before the result; in a signature behind the name, as those of a class do.
    out.back().signature.insert(0, source.line(types));
  }
}

// The comment above the declaration of a package or a module, in the file that is there for it.
std::optional<ModuleDocstring> package_comment(TSNode root, const Source& source,
                                               const Comments& comments) {
  const std::string_view file = source.path.substr(source.path.rfind('/') + 1);
  if (file != "package-info.java" && file != "module-info.java") return std::nullopt;
  for (const Child& child : children(root)) {
    const std::string_view type = type_of(child.node);
    if (type != "package_declaration" && type != "module_declaration") continue;
    std::optional<std::string> text = comments.above(ts_node_start_byte(child.node));
    if (!text) return std::nullopt;
    for (const Child& part : children(child.node)) {
      if (!type_of(part.node).ends_with("identifier")) continue;
      return ModuleDocstring{range_of(child.node), *std::move(text), source.line(part.node)};
    }
  }
  return std::nullopt;
}

}  // namespace

constinit const Language languages::java = {
    .name = "java",
    .grammar = tree_sitter_java,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_java,
    .module_docstring = package_comment,
};

}  // namespace velmora::host::indexing
