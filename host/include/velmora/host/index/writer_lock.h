// Lets one process at a time bring an index up to date, and tells the others who that is.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "velmora/export.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {

// Holds the file `lock` locked. The kernel lets go of it when the process ends, however it ends;
// the file stays. Processes that it forks do not hold it.
class VELMORA_API WriterLock {
 public:
  // Nothing when another process holds the lock. Makes the file when it is missing. Throws
  // IndexError when it cannot be opened or must not be (index_folder.h), std::system_error when it
  // cannot be locked.
  [[nodiscard]] static std::optional<WriterLock> try_take(const std::filesystem::path& lock);

  // Who holds it, for a sentence: "process 4711, since 12:00:05"; less when that is not known.
  [[nodiscard]] static std::string holder(const std::filesystem::path& lock);

  // Leaves the other one with nothing to let go of.
  WriterLock(WriterLock&&) noexcept = default;
  WriterLock& operator=(WriterLock&&) = delete;
  ~WriterLock();

 private:
  explicit WriterLock(OpenFile file);

  OpenFile file_;
  int process_;  // whose lock it is
};

}  // namespace velmora::host::index
