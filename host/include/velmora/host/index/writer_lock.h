// Lets one process at a time bring an index up to date, and tells the others who that is.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velmora::host::index {

// Holds the file `lock` locked. The kernel lets go of it when the process ends, however it ends;
// the file stays.
class WriterLock {
 public:
  // Nothing when another process holds the lock. Makes the file when it is missing. Throws
  // std::system_error when it cannot be made or locked.
  [[nodiscard]] static std::optional<WriterLock> try_take(const std::filesystem::path& lock);

  // Who holds it, for a sentence: "process 4711, since 12:00:05"; less when that is not known.
  [[nodiscard]] static std::string holder(const std::filesystem::path& lock);

  WriterLock(WriterLock&& other) noexcept;
  WriterLock& operator=(WriterLock&&) = delete;
  ~WriterLock();

 private:
  explicit WriterLock(int descriptor) : descriptor_(descriptor) {}

  int descriptor_;
};

}  // namespace velmora::host::index
