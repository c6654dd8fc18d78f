// PHP.

#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/php_enums.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_php();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::php};
constexpr std::string_view COMMENTS[] = {"///", "//", "#"};

void describe_php(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                  std::vector<Declared>& out) {
  if (found.kind == "define") {
    const TSNode call = ts_node_named_child(found.node, 0);
    const std::string_view function = source.raw(field(call, "function"));
    if (function != "define" && function != "\\define") return;
    out.push_back({.kind = "constant", .name = source.line(found.name), .global = true});
    return;
  }
  if (found.kind == "case") {
    // One that the source calls "const".
    const std::uint32_t start = ts_node_start_byte(found.node);
    const std::uint32_t size = ts_node_start_byte(found.name) - start;
    if (source.text.substr(start, size) == source.original.substr(start, size)) return;
    out.push_back(declared("constant", found, source));
    out.back().separator = "::";
    return;
  }
  std::string kind(found.kind);
  if (kind == "method" && source.raw(found.name) == "__construct") kind = "constructor";
  out.push_back(declared(std::move(kind), found, source));
  const bool member = found.kind == "method" || found.kind == "constant";
  if (member && in_type(enclosing)) out.back().separator = "::";
}

}  // namespace

constinit const Language languages::php = {
    .name = "php",
    .grammar = tree_sitter_php,
    .queries = QUERIES,
    .separator = "\\",
    .line_comments = COMMENTS,
    .describe = describe_php,
    .prepare = enum_constants_as_cases,
};

}  // namespace velmora::host::indexing
