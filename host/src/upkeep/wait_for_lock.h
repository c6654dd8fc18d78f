// Waits for a lock beside an index.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

#include "velmora/host/index/writer_lock.h"

namespace velmora::host::upkeep {

// The lock, once its holder is done. While somebody has it, `busy` is called with who that is, as
// index::WriterLock::holder tells it, before each pause; what it throws ends the wait. Throws what
// index::WriterLock::try_take throws.
[[nodiscard]] index::WriterLock wait_for_lock(
    const std::filesystem::path& lock, const std::function<void(const std::string& holder)>& busy,
    std::chrono::milliseconds pause = std::chrono::milliseconds(20));

}  // namespace velmora::host::upkeep
