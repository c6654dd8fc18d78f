// Java.
#include <string>
#include <string_view>

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
}

}  // namespace

constinit const Language languages::java = {
    .name = "java",
    .grammar = tree_sitter_java,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_java,
};

}  // namespace velmora::host::indexing
