#include "cli/index_lock.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "cli/output.h"
#include "upkeep/index_place.h"

namespace velmora::host::cli {
namespace {

index::WriterLock take_lock(const std::filesystem::path& file, const std::string& what,
                            bool no_wait, const std::function<void()>& check,
                            std::chrono::milliseconds pause = std::chrono::milliseconds(20)) {
  for (bool told = false;; told = true) {
    std::optional<index::WriterLock> lock = index::WriterLock::try_take(file);
    if (lock) return std::move(*lock);
    const std::string busy = what + " by " + index::WriterLock::holder(file) + ". ";
    if (no_wait) throw std::runtime_error(busy + "Try again when it has ended");
    if (!told) tell(busy + "Waiting for it");
    check();
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace

index::WriterLock take_index_lock(const std::filesystem::path& index, bool no_wait,
                                  const std::function<void()>& check) {
  return take_lock(upkeep::writer_lock_of(index), "The index is being brought up to date", no_wait,
                   check);
}

index::WriterLock take_embed_lock(const std::filesystem::path& index, bool no_wait,
                                  const std::function<void()>& check) {
  return take_lock(index.parent_path() / "embed.lock", "The symbols are being embedded", no_wait,
                   check);
}

index::WriterLock take_watch_lock(const std::filesystem::path& index, bool no_wait,
                                  const std::function<void()>& check) {
  // Whoever watches may do so for days.
  return take_lock(upkeep::watch_lock_of(index), "The files are watched", no_wait, check,
                   std::chrono::milliseconds(500));
}

}  // namespace velmora::host::cli
