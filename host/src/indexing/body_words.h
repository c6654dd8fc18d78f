// The words of what stands in a definition, for text search to find it by.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/extract.h"
#include "velmora/host/index/symbol.h"

namespace velmora::host::indexing {

// What of a body counts. Beyond so many bytes it says nothing new; a longer run of letters or
// digits is no word.
inline constexpr std::size_t LONGEST_BODY = 8 * 1024;
inline constexpr std::size_t LONGEST_BODY_WORD = 63;
static_assert(MOST_BODY_WORDS * (LONGEST_BODY_WORD + 1) == LONGEST_BODY_WORDS);

class BodyWords {
 public:
  // Takes time in proportion to the body's first LONGEST_BODY bytes. Keys and passwords are left
  // out (secrets.h).
  explicit BodyWords(std::string_view body);

  // The words that text search does not read of `symbol` anyway, in its name, signature, path and
  // docstring: distinct, in lower case, without stop words, the first MOST_BODY_WORDS of them in
  // order of first appearance, with spaces between. Takes time in proportion to these texts.
  [[nodiscard]] std::string beside(const index::Symbol& symbol) const;

 private:
  std::vector<std::string> words_;
};

}  // namespace velmora::host::indexing
