// Text in whole lines, as much of it as its reader has room for.
//
// What is shown of a symbol, an outline or an index is written by functions that return a
// LimitedText. A terminal takes all of it. An agent's server asks for so many characters, and says
// from `left_out` how much more there is and how to get it, in its own words. Names, paths and
// source come from strangers: the functions leave nothing in a text that could drive a terminal or
// make lines of its own.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::host::browse {

inline constexpr std::size_t EVERY_CHARACTER = std::numeric_limits<std::size_t>::max();

struct LimitedText {
  std::string text = {};     // lines, each with its break
  std::size_t left_out = 0;  // how many lines more there are
};

class LineWriter {
 public:
  // Takes lines of so many characters (code points) in all, their breaks included.
  explicit LineWriter(std::size_t most_characters) : left_(most_characters) {}

  // Adds a line. The first one that has no room, and all behind it, are left out.
  void add(std::string_view line);

  [[nodiscard]] LimitedText take() { return std::move(written_); }

 private:
  std::size_t left_;
  LimitedText written_;
};

// How many characters (code points) a text has, and its first `most` of them.
[[nodiscard]] std::size_t characters(std::string_view text);
[[nodiscard]] std::string_view first_characters(std::string_view text, std::size_t most);

// The first line of `text` as it may stand among others, cut to so many characters; "…" ends what
// was cut.
[[nodiscard]] std::string one_line(std::string_view text, std::size_t most_characters);

}  // namespace velmora::host::browse
