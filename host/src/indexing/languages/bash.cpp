// Bash.

#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_bash();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::bash};
constexpr std::string_view COMMENTS[] = {"#"};

void describe_bash(const Found& found, std::span<const Enclosing> /*enclosing*/,
                   const Source& source, std::vector<Declared>& out) {
  out.push_back(
      {.kind = std::string(found.kind),
       .name = source.line(found.name),
       .signature = found.kind == "function"
                        ? "()"
                        : constant_header(found.node, ts_node_end_byte(found.name), source)});
}

}  // namespace

constinit const Language languages::bash = {
    .name = "bash",
    .grammar = tree_sitter_bash,
    .queries = QUERIES,
    .separator = "",
    .line_comments = COMMENTS,
    .describe = describe_bash,
};

}  // namespace velmora::host::indexing
