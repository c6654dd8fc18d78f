// Calls functions of the host's, and tells what their codes stand for.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "c_interface/message.h"
#include "velmora/velmora.h"

namespace velmora::host::c_interface {

// The host wants the whole call to end. Not a std::exception: nothing on the way makes something
// else of it.
struct CallbackStop {
  velmora_code code = VELMORA_STOPPED;
  std::string text = {};
};

// What a function of the host's had to say, with a code that stands for nothing else.
class CallbackError : public std::runtime_error {
 public:
  CallbackError(velmora_code code, const std::string& text)
      : std::runtime_error(text), code_(code) {}

  [[nodiscard]] velmora_code code() const { return code_; }

 private:
  velmora_code code_;
};

// Throws what `code` stands for unless it is VELMORA_OK: CallbackStop, std::bad_alloc,
// TryAgainLaterError, or CallbackError. `name` is the function's.
void check_callback(velmora_code code, const char* name);

// Calls a function of the host's that returns a code, and throws what that stands for.
template <class... Parameters, class... Arguments>
void call(const char* name, velmora_code (*function)(Parameters...), Arguments&&... arguments) {
  message().clear();  // so that none is mistaken for the function's
  check_callback(function(std::forward<Arguments>(arguments)...), name);
}

// The `self` of a table. It is the library's to release once it is taken.
class Self {
 public:
  Self(void* self, void (*release)(void*)) : self_(self), release_(release) {}
  Self(const Self&) = delete;
  Self& operator=(const Self&) = delete;
  ~Self() {
    if (taken_ && release_ != nullptr) release_(self_);
  }

  void take() noexcept { taken_ = true; }
  [[nodiscard]] void* get() const { return self_; }

 private:
  void* const self_;
  void (*const release_)(void*);
  bool taken_ = false;
};

}  // namespace velmora::host::c_interface
