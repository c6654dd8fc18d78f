// JavaScript.
#include <string_view>

#include "indexing/languages.h"
#include "indexing/queries.h"
#include "indexing/script_family.h"
#include "indexing/script_names.h"

extern "C" const TSLanguage* tree_sitter_javascript();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::javascript, queries::javascript_fields};

}  // namespace

constinit const Language languages::javascript = {
    .name = "javascript",
    .grammar = tree_sitter_javascript,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_script,
    .module = script_module,
    .module_docstring = script_module_docstring,
};

}  // namespace velmora::host::indexing
