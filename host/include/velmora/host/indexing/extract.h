// The definitions in one source file.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "velmora/host/index/symbol.h"

namespace velmora::host::indexing {

// The file cannot be indexed. The message says why, in a few words that stand after a path.
class ExtractError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Names what this build makes of a source. It follows the queries, the grammars, the languages that
// are built in and the code that reads them, so that an index which another build made is made
// anew.
extern const std::string_view EXTRACTION_VERSION;

struct ExtractOptions {
  // How long reading a file may take in all: parsing it, more than once if need be, and finding its
  // definitions. Real files take milliseconds; the limit is for those made to be hard, and bounds
  // their memory too.
  std::chrono::microseconds timeout = std::chrono::seconds(3);
};

// The symbols of `source`, a file in `language` (named as in SOURCE_LANGUAGES) at `path` (relative
// to the repository, forward slashes), in the order in which they stand in the file. One symbol for
// each definition; what is local to a function is left out. Nothing has an id or an embedding.
//
// What cannot be parsed is passed over: the rest of the file still counts. Invalid UTF-8 is carried
// through. Throws ExtractError when it takes too long or is nested too deeply,
// std::invalid_argument for an unknown language. A pure function: any thread may call it, time and
// memory are bounded for every input.
[[nodiscard]] std::vector<index::Symbol> extract_symbols(std::string_view language,
                                                         std::string_view path,
                                                         std::string_view source,
                                                         const ExtractOptions& options = {});

// The languages that are built in as people write them ("C++"), in alphabetical order.
[[nodiscard]] std::vector<std::string_view> language_titles();

}  // namespace velmora::host::indexing
