// Tells when something changes in the folders of a repository.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

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

  // Watches the folders of list_folders from now on; again for those that are new since.
  // `leave_out` is that function's. The
  // folders above are watched for the names that lead to the root: that it goes, comes, or is
  // swapped for another is a change too, after which this call watches what then stands there.
  // Throws std::runtime_error when there are more folders than the system watches, and
  // std::filesystem::filesystem_error when the root is not there; wait() then ends when it comes.
  void watch_folders(const std::vector<std::string>& leave_out = {});

  // Waits for a change, and then until there is none for `quiet`, at most for `longest`. False when
  // the caller's descriptor became readable.
  [[nodiscard]] bool wait(std::chrono::milliseconds quiet, std::chrono::milliseconds longest);

  // Whether there was a change that no wait has told of: one that the caller's descriptor cut
  // short, or one since. Does not wait. The system tells of a change before the call returns that
  // made it.
  [[nodiscard]] bool take_change();

 private:
  enum class Event { change, wake, timeout };
  [[nodiscard]] Event next(std::chrono::milliseconds timeout);
  [[nodiscard]] bool read_changes();
  void start();
  void watch_way_to(const std::filesystem::path& folder);

  const std::filesystem::path root_;
  const int wake_;
  int inotify_ = -1;
  // What is watched above the root, and the names in it that lead there.
  std::unordered_map<int, std::unordered_set<std::string>> ways_;
  bool untold_ = false;       // a change came, and then the caller's descriptor
  bool way_changed_ = false;  // what is watched may no longer be what stands at the root
};

}  // namespace velmora::host::indexing
