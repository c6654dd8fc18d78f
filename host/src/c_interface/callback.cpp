#include "c_interface/callback.h"

#include <new>

#include "velmora/exceptions.h"

namespace velmora::host::c_interface {

void check_callback(velmora_code code, const char* name) {
  if (code == VELMORA_OK) return;
  if (code == VELMORA_OUT_OF_MEMORY) throw std::bad_alloc();
  std::string text = message();
  if (text.empty()) text = std::string(name) + " returned " + std::to_string(code);
  if (code == VELMORA_STOPPED) throw CallbackStop{.text = std::move(text)};
  if (code == VELMORA_TRY_AGAIN_LATER) throw TryAgainLaterError(text);
  const bool known = code > VELMORA_OK && code <= VELMORA_OTHER;
  throw CallbackError(known ? code : VELMORA_OTHER, text);
}

}  // namespace velmora::host::c_interface
