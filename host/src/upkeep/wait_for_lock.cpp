#include "upkeep/wait_for_lock.h"

#include <optional>
#include <thread>
#include <utility>

namespace velmora::host::upkeep {

index::WriterLock wait_for_lock(const std::filesystem::path& lock,
                                const std::function<void(const std::string&)>& busy,
                                std::chrono::milliseconds pause) {
  while (true) {
    std::optional<index::WriterLock> taken = index::WriterLock::try_take(lock);
    if (taken) return std::move(*taken);
    busy(index::WriterLock::holder(lock));
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace velmora::host::upkeep
