#include "cli/output.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <system_error>

#include "cli/progress_line.h"
#include "velmora/logging.h"

namespace velmora::host::cli {
namespace {

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

void log_to_standard_error(bool verbose) {
  logging::set_sink(std::make_shared<StandardErrorSink>(),
                    verbose ? logging::Level::debug : logging::Level::warning);
}

}  // namespace velmora::host::cli
