// How errors leave through the C interface: as a code, with a message of the thread.
#pragma once

#include <string>
#include <utility>

#include "velmora/velmora.h"

namespace velmora::host::c_interface {

// The message of this thread.
[[nodiscard]] std::string& message() noexcept;

// The code of the error that is being handled, whose text becomes the message.
[[nodiscard]] velmora_code code_of_current_error() noexcept;

// Runs `work`, whose errors become codes.
template <class Work>
[[nodiscard]] velmora_code guarded(Work&& work) noexcept {
  try {
    std::forward<Work>(work)();
    return VELMORA_OK;
  } catch (...) {
    return code_of_current_error();
  }
}

}  // namespace velmora::host::c_interface
