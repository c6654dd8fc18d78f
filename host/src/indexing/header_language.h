// Whether a .h file is C or C++, which its name does not tell.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "velmora/host/index/symbol.h"
#include "velmora/host/indexing/extract.h"

namespace velmora::host::indexing {

struct Header {
  std::string_view language;  // as in SOURCE_LANGUAGES
  std::vector<index::Symbol> symbols;
};

// Knows the C and C++ sources of a repository. Any thread may ask.
class HeaderLanguage {
 public:
  explicit HeaderLanguage(std::span<const std::string> files);

  // Whether most sources in the nearest folder around the header that holds any, in its subfolders
  // too, are C++.
  [[nodiscard]] bool among_cpp(std::string_view path) const;

  // What a header at `path` is: C++ among C++ sources; otherwise what parses with fewer errors;
  // with as many, C++ when there are classes or namespaces. Throws as extract_symbols does: the
  // limit is for all of it.
  [[nodiscard]] Header read(std::string_view path, std::string_view source,
                            const ExtractOptions& options) const;

 private:
  struct Sources {
    std::size_t c = 0;
    std::size_t cpp = 0;
  };
  std::unordered_map<std::string, Sources> folders_;
};

}  // namespace velmora::host::indexing
