// A question about an index, as the retriever is to read it.
#pragma once

#include <string>
#include <string_view>

#include "velmora/host/index/index.h"

namespace velmora::host::browse {

// As sentence.h has it, with the things that the index holds. Throws what the index throws.
[[nodiscard]] std::string read_question(std::string_view question, index::Index& index);

}  // namespace velmora::host::browse
