// Errors that cross more than one module.
#pragma once

#include <stdexcept>

#include "velmora/export.h"

namespace velmora {

// A resource that is not ready yet, such as a model that is still loading; asking again later may
// succeed. The message begins a sentence and has no final full stop: a channel's note turns it into
// the middle of one and adds the stop itself.
class VELMORA_API TryAgainLaterError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace velmora
