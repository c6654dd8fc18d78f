#include "cli/index_lock.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "cli/output.h"
#include "upkeep/index_place.h"
#include "upkeep/wait_for_lock.h"

namespace velmora::host::cli {
namespace {

index::WriterLock take_lock(const std::filesystem::path& file, const std::string& what,
                            bool no_wait, const std::function<void()>& check,
                            std::chrono::milliseconds pause = std::chrono::milliseconds(20)) {
  bool told = false;
  const auto busy = [&](const std::string& holder) {
    const std::string sentence = what + " by " + holder + ". ";
    if (no_wait) throw std::runtime_error(sentence + "Try again when it has ended");
    if (!std::exchange(told, true)) tell(sentence + "Waiting for it");
    check();
  };
  return upkeep::wait_for_lock(file, busy, pause);
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
