// The one line that tells what an answer had to do without.
#pragma once

#include <optional>
#include <string>

#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {

// "Ranked by name and text only: ..." for the channels that could not rank, then a sentence for
// each that ranked in part, in the order of `channels`; absent when no channel has a problem to
// report.
[[nodiscard]] std::optional<std::string> channel_note(const ChannelMap<Channel>& channels);

}  // namespace velmora::workers::retrieval::internal
