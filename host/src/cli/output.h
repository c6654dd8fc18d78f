// What the program writes to its standard streams.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmora::host::cli {

// Nobody reads standard output any more. The program ends without a word.
class NobodyReads : public std::runtime_error {
 public:
  NobodyReads() : std::runtime_error("nobody reads the output") {}
};

// Writes `text` to standard output at once. Throws NobodyReads, or std::runtime_error when it
// cannot be written for another reason.
void write_output(std::string_view text);

// Writes a line about what happens to standard error. Does not throw.
void tell(std::string_view sentence) noexcept;

// "1 file", "2 files".
[[nodiscard]] std::string counted(std::size_t count, const std::string& thing);

// `text` as it may be shown on a terminal: control characters other than line breaks and tabs, and
// bytes that are not UTF-8, become U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

// The same for what is one line among others, as a path is: line breaks and tabs become U+FFFD too.
[[nodiscard]] std::string printable_line(std::string_view text);

// Sends the library's log lines to standard error from now on: warnings and worse, or everything.
void log_to_standard_error(bool verbose);

}  // namespace velmora::host::cli
