// Collects the log lines written during a test.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "velmora/logging.h"

namespace velmora::testing {

class LogCapture {
 public:
  explicit LogCapture(logging::Level least) { logging::set_sink(sink_, least); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() { logging::set_sink(nullptr); }

  // The lines so far, as logging::format writes them.
  [[nodiscard]] std::vector<std::string> lines() const {
    const std::lock_guard guard(sink_->lock);
    return sink_->lines;
  }

 private:
  struct Lines : logging::Sink {
    void write(const logging::Record& record) noexcept override {
      const std::lock_guard guard(lock);
      lines.push_back(logging::format(record));
    }
    std::mutex lock;
    std::vector<std::string> lines;
  };
  std::shared_ptr<Lines> sink_ = std::make_shared<Lines>();
};

}  // namespace velmora::testing
