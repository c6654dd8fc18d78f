// Embeds the symbols of an index with the program's own model.
#pragma once

#include <cstdint>
#include <functional>

#include "velmora/export.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/update.h"

namespace velmora::host::embedding {

// Embeds the symbols that take part in retrieval and have not been embedded with this model, and
// drops the vectors of an earlier one. A symbol none of whose words the model knows gets no vector.
// `progress` gets how many symbols were read, and of how many; what it throws ends the work.
// Returns how many vectors were stored.
VELMORA_API std::int64_t embed_symbols(
    index::Update& update, const WordModel& model,
    const std::function<void(std::int64_t, std::int64_t)>& progress);

}  // namespace velmora::host::embedding
