// The settings of ranking, as the C interface has them.
#pragma once

#include "velmora/velmora.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::c_interface {

// Those that a caller gives. Throws std::invalid_argument for what is none.
[[nodiscard]] workers::retrieval::RetrievalSettings settings_of(const velmora_settings& given);

}  // namespace velmora::host::c_interface
