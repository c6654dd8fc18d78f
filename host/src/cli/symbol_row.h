// Symbols as rows of JSON, the form in which they are imported.
#pragma once

#include <string_view>

#include "velmora/host/index/symbol.h"

namespace velmora::host::cli {

// The symbol in one line: an object with fqn, name, kind, language, path, start_line and end_line,
// and optionally id, signature, docstring and embeddings, a list of {"model", "values"}. Throws
// InputError for anything else, unknown fields included, since a misspelled name would lose its
// content silently.
[[nodiscard]] index::Symbol parse_symbol_row(std::string_view line);

}  // namespace velmora::host::cli
