// A .h file, which may be C, C++ or Objective-C.
#pragma once

#include <string_view>
#include <vector>

#include "velmora/host/index/symbol.h"

namespace velmora::host::indexing {

struct Header {
  std::string_view language;  // as in SOURCE_LANGUAGES
  std::vector<index::Symbol> symbols;
};

// What a header is, and its symbols: Objective-C when something is declared as only that does; C++
// when that is what `expected` says; else what parses with
// fewer errors; with as many, C++ when there are classes or namespaces. Throws as extract_symbols
// does.
[[nodiscard]] Header read_header(std::string_view path, std::string_view source,
                                 std::string_view expected);

}  // namespace velmora::host::indexing
