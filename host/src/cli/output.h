// What the program writes to its standard streams.
#pragma once

#include <stdexcept>
#include <string_view>

#include "text/printable.h"

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

using text::counted;
using text::printable;
using text::printable_line;

// Sends the library's log lines to standard error from now on: warnings and worse, or everything.
void log_to_standard_error(bool verbose);

}  // namespace velmora::host::cli
