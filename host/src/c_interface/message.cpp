#include "c_interface/message.h"

#include <array>
#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "c_interface/arguments.h"
#include "c_interface/callback.h"
#include "index/index_errors.h"
#include "upkeep/index_place.h"
#include "velmora/exceptions.h"

namespace velmora::host::c_interface {
namespace {

// The thread's message, once there is one. A destructor ends neither of the two: other destructors
// of the thread, and functions of atexit, come after those of the library.
thread_local std::string* current = nullptr;
alignas(std::string) thread_local std::array<std::byte, sizeof(std::string)> room;

struct AtEndOfThread {
  ~AtEndOfThread() { std::destroy_at(std::exchange(current, nullptr)); }
};

// Keeps the text if there is memory for it.
velmora_code told(velmora_code code, std::string_view text) noexcept {
  try {
    message().assign(text);
  } catch (const std::exception&) {
    message().clear();
  }
  return code;
}

}  // namespace

std::string& message() noexcept {
  if (current == nullptr) {
    current = new (room.data()) std::string;
    [[maybe_unused]] thread_local const AtEndOfThread end;
  }
  return *current;
}

velmora_code code_of_current_error() noexcept {
  try {
    throw;
  } catch (const CallbackStop& stop) {
    return told(stop.code, stop.text);
  } catch (const CallbackError& error) {
    return told(error.code(), error.what());
  } catch (const std::bad_alloc&) {
    return told(VELMORA_OUT_OF_MEMORY, "out of memory");  // fits into the string itself
  } catch (const std::invalid_argument& error) {
    return told(VELMORA_INVALID_ARGUMENT, error.what());
  } catch (const index::NoIndexError& error) {
    return told(VELMORA_NO_INDEX, error.what());
  } catch (const index::UnusableIndexError& error) {
    return told(VELMORA_UNUSABLE_INDEX, error.what());
  } catch (const index::BusyIndexError& error) {
    return told(VELMORA_BUSY, error.what());
  } catch (const upkeep::ConsentError& error) {
    return told(VELMORA_CONSENT_NEEDED, error.what());
  } catch (const TryAgainLaterError& error) {
    return told(VELMORA_TRY_AGAIN_LATER, error.what());
  } catch (const std::exception& error) {
    return told(VELMORA_OTHER, error.what());
  } catch (...) {
    return told(VELMORA_OTHER, "an error that is no std::exception");
  }
}

}  // namespace velmora::host::c_interface

using velmora::host::c_interface::message;

velmora_string velmora_message() noexcept { return {message().data(), message().size()}; }

void velmora_set_message(velmora_string text) noexcept {
  static_cast<void>(velmora::host::c_interface::guarded([&] {
    // Not assigned: it may be a part of the message.
    message() = std::string(velmora::host::c_interface::text_of(text));
  }));
}

velmora_string velmora_version() noexcept { return velmora_string_of(VELMORA_VERSION); }
