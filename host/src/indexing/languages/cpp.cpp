// C++.
#include <string_view>

#include "indexing/c_family.h"
#include "indexing/c_macros.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_cpp();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::c, queries::cpp};

}  // namespace

constinit const Language languages::cpp = {
    .name = "cpp",
    .grammar = tree_sitter_cpp,
    .queries = QUERIES,
    .separator = "::",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_c_family,
    .prepare = blank_macros,
    .flat_functions = true,
};

}  // namespace velmora::host::indexing
