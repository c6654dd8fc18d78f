// Tells when something changes in the folders of a repository.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace velmora::host::indexing {

class FolderWatch {
 public:
  // Watches nothing yet. `wake` is a descriptor of the caller, outlives the watch, and ends a wait
  // when it becomes readable. Throws std::runtime_error when the system watches nothing more;
  // the message says what to do.
  FolderWatch(std::filesystem::path root, int wake);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  ~FolderWatch();

  // Watches the folders of list_folders from now on; again for those that are new since. Throws
  // std::runtime_error when there are more than the system watches.
  void watch_folders();

  // Waits for a change, and then until there is none for `quiet`, at most for `longest`. False when
  // the caller's descriptor became readable.
  [[nodiscard]] bool wait(std::chrono::milliseconds quiet, std::chrono::milliseconds longest);

 private:
  enum class Event { change, wake, timeout };
  [[nodiscard]] Event next(std::chrono::milliseconds timeout);
  [[nodiscard]] bool read_changes();

  const std::filesystem::path root_;
  const int wake_;
  int inotify_;
};

}  // namespace velmora::host::indexing
