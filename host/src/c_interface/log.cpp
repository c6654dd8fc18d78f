// velmora_set_log.
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include "c_interface/arguments.h"
#include "c_interface/callback.h"
#include "c_interface/message.h"
#include "velmora/logging.h"

namespace velmora::host::c_interface {
namespace {

class CallbackSink final : public logging::Sink {
 public:
  CallbackSink(velmora_log_function log, void* self, void (*release)(void*))
      : log_(log), self_(self, release) {}

  void take() noexcept { self_.take(); }

  void write(const logging::Record& record) noexcept override {
    const auto send = [&](std::string_view text) {
      log_(self_.get(), static_cast<int32_t>(record.level), string_of(record.logger),
           string_of(text));
    };
    try {
      send(logging::message_with_causes(record));
    } catch (const std::exception&) {  // no memory for the causes
      send(record.message);
    }
  }

 private:
  const velmora_log_function log_;
  Self self_;
};

}  // namespace
}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;
namespace logging = velmora::logging;

velmora_code velmora_set_log(velmora_log_function log, void* self, void (*release)(void* self),
                             int32_t level) noexcept {
  return c_interface::guarded([&] {
    if (level < VELMORA_LOG_DEBUG || level > VELMORA_LOG_ERROR) {
      throw std::invalid_argument("The argument level is none of VELMORA_LOG_...");
    }
    if (log == nullptr) return logging::set_sink(nullptr);
    const auto sink = std::make_shared<c_interface::CallbackSink>(log, self, release);
    sink->take();
    logging::set_sink(sink, static_cast<logging::Level>(level));
  });
}
