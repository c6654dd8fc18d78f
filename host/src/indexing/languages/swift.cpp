// Swift.
#include <cstdint>
#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_swift();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::swift};

void describe_swift(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  if (found.kind == "property") {
    const std::uint32_t start = ts_node_start_byte(found.name);
    if (!ts_node_is_null(field(found.node, "computed_value"))) {
      out.push_back(declared(function_kind(enclosing), found, source));
    } else if (has_word_before(found.node, start, "let", source) &&
               (!in_type(enclosing) || has_word_before(found.node, start, "static", source))) {
      out.push_back(declared("constant", found, source));
    }
  } else if (found.kind == "macro") {
    const TSNode definition = field(found.node, "definition");
    const std::uint32_t end =
        ts_node_is_null(definition) ? ts_node_end_byte(found.node) : ts_node_start_byte(definition);
    out.push_back({.kind = "macro",
                   .name = source.line(found.name),
                   .signature = source.line(Range{ts_node_end_byte(found.name), end})});
  } else {
    out.push_back(
        declared(found.kind == "function" ? function_kind(enclosing) : std::string(found.kind),
                 found, source));
  }
}

}  // namespace

constinit const Language languages::swift = {
    .name = "swift",
    .grammar = tree_sitter_swift,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_swift,
};

}  // namespace velmora::host::indexing
