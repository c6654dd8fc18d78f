#include "cli/output.h"

#include <unicode/utf8.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <system_error>

#include "cli/progress_line.h"
#include "velmora/logging.h"

namespace velmora::host::cli {
namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

bool is_control(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

bool breaks_lines(char32_t character) {
  return is_control(character) || character == 0x2028 || character == 0x2029;
}

bool drives_terminals(char32_t character) {
  return is_control(character) && character != U'\n' && character != U'\t';
}

// The text with U+FFFD for each character that `is_bad`, and for bytes that are not UTF-8.
std::string shown(std::string_view text, bool (*is_bad)(char32_t)) {
  std::string out;
  out.reserve(text.size());
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t start = i;
    UChar32 decoded = 0;
    U8_NEXT_OR_FFFD(bytes, i, text.size(), decoded);
    const auto character = static_cast<char32_t>(decoded);
    if (character == REPLACEMENT || is_bad(character)) {
      out += "\uFFFD";
    } else {
      out.append(text.substr(start, i - start));
    }
  }
  return out;
}

class StandardErrorSink final : public logging::Sink {
 public:
  void write(const logging::Record& record) noexcept override {
    try {
      // One call, so that the lines of several threads do not mix.
      // The names in a message make no lines of their own.
      const std::string message = printable_line(record.message);
      logging::Record shown = record;
      shown.message = message;
      const std::string line = printable(logging::format(shown)) + "\n";
      std::fwrite(line.data(), 1, line.size(), stderr);
    } catch (const std::exception&) {
      // A log line that cannot be written is lost.
    }
  }
};

}  // namespace

void write_output(std::string_view text) {
  hide_progress_line();
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return;
  }
  if (errno == EPIPE) throw NobodyReads();
  throw std::runtime_error("The output cannot be written: " +
                           std::generic_category().message(errno));
}

void tell(std::string_view sentence) noexcept {
  try {
    // One call, so that the lines of several threads do not mix.
    const std::string line = "velmora: " + printable(sentence) + "\n";
    hide_progress_line();
    std::fwrite(line.data(), 1, line.size(), stderr);
  } catch (const std::bad_alloc&) {
    std::fputs("velmora: There is not enough memory\n", stderr);
  }
}

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string printable(std::string_view text) { return shown(text, drives_terminals); }

std::string printable_line(std::string_view text) { return shown(text, breaks_lines); }

void log_to_standard_error(bool verbose) {
  logging::set_sink(std::make_shared<StandardErrorSink>(),
                    verbose ? logging::Level::debug : logging::Level::warning);
}

}  // namespace velmora::host::cli
