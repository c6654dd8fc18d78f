// TypeScript.
#include <string_view>

#include "indexing/languages.h"
#include "indexing/queries.h"
#include "indexing/script_family.h"
#include "indexing/script_names.h"

extern "C" const TSLanguage* tree_sitter_tsx();
extern "C" const TSLanguage* tree_sitter_typescript();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::javascript, queries::typescript};

}  // namespace

constinit const Language languages::typescript = {
    .name = "typescript",
    .grammar = tree_sitter_typescript,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_script,
    .module = script_module,
    .module_docstring = script_module_docstring,
};

// Elements may stand in it; what an assertion in angle brackets is in the other.
constinit const Language languages::tsx = {
    .name = "typescript",
    .extension = ".tsx",
    .grammar = tree_sitter_tsx,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_script,
    .module = script_module,
    .module_docstring = script_module_docstring,
};

}  // namespace velmora::host::indexing
