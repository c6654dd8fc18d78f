// The definitions in one source file.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "velmora/host/index/symbol.h"

namespace velmora::host::indexing {

// The symbols of a file would take more room than most_symbol_bytes allows.
class TooManySymbolsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a symbol takes beside its texts, in bytes.
inline constexpr std::size_t SYMBOL_OVERHEAD = 72;

// How many bytes the symbols of a source of that size may take: the names, signatures, docstrings
// and words of each and SYMBOL_OVERHEAD. People write files whose symbols take about as much as the
// source; names within names can make them take thousands of times that.
[[nodiscard]] constexpr std::size_t most_symbol_bytes(std::size_t source) {
  return std::size_t{64} * 1024 + 32 * source;
}

// The most words of a body that a symbol has.
inline constexpr std::size_t MOST_BODY_WORDS = 64;

// The most bytes that these take.
inline constexpr std::size_t LONGEST_BODY_WORDS = 4096;

// The symbols of `source`, a file in `language` (named as in SOURCE_LANGUAGES) at `path` (relative
// to the repository, forward slashes), in the order in which they stand in the file. One symbol for
// each definition; what is local to a function is left out, and so is what has a qualified name
// longer than 1024 bytes. A signature that is longer than 16384 bytes ends there. The words of a
// symbol are the first that stand in its definition, of classes those of their members too, but for
// stop words and those of its name, path, signature and docstring. Nothing has an id or an
// embedding.
//
// What cannot be parsed is passed over: the rest of the file still counts. Invalid UTF-8 is carried
// through. Throws TooManySymbolsError, and std::invalid_argument for an unknown language.
//
// A pure function: any thread may call it. What is done here takes time and memory in proportion
// to the source; the parser below it promises neither, nor that it survives every source: it may
// take minutes and gigabytes, or abort. RepositoryScan therefore has other processes call this.
[[nodiscard]] std::vector<index::Symbol> extract_symbols(std::string_view language,
                                                         std::string_view path,
                                                         std::string_view source);

}  // namespace velmora::host::indexing
