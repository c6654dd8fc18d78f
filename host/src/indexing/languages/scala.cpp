// Scala.
#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_scala();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::scala};

void describe_scala(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  const std::string_view name = source.raw(found.name);
  if (found.kind == "constant") {
    if (name.empty() || name.front() < 'A' || name.front() > 'Z') return;
    out.push_back(declared("constant", found, source));
  } else if (found.kind == "function") {
    out.push_back(
        declared(name == "this" ? "constructor" : function_kind(enclosing), found, source));
  } else {
    out.push_back(declared(std::string(found.kind), found, source));
  }
}

}  // namespace

constinit const Language languages::scala = {
    .name = "scala",
    .grammar = tree_sitter_scala,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_scala,
};

}  // namespace velmora::host::indexing
