// Texts of strangers in little room, as a terminal has it. Everything returned may be shown on one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::text {

// Longer texts are read no further, in bytes: there is no room for them anywhere.
inline constexpr std::size_t LONGEST_LAID_OUT = 16 << 10;

// How many columns of a terminal a text without line breaks and tabs takes. Wide characters take
// two, marks on the character before them none.
[[nodiscard]] std::size_t columns(std::string_view text);

// The text on one line: each run of white space becomes one space, none stands at an end.
[[nodiscard]] std::string on_one_line(std::string_view text);

// The first `most` columns of a line, the last of them an ellipsis when it is longer. No word is
// cut that begins in the last quarter. `most` is at least 1.
[[nodiscard]] std::string cut_to(std::string_view line, std::size_t most);

// A line as `most_lines` lines at most, none wider than `width`, broken at spaces where a line has
// one; what is left then is cut. Both are at least 1. No line at all for an empty text.
[[nodiscard]] std::vector<std::string> folded(std::string_view line, std::size_t width,
                                              std::size_t most_lines);

// The first sentence of a docstring, on one line. It ends with the paragraph at the latest, and
// before a line of tags (@param, :param).
[[nodiscard]] std::string first_sentence(std::string_view docstring);

}  // namespace velmora::host::text
