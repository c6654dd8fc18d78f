#include "indexing/folder_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "velmora/host/indexing/file_list.h"

namespace velmora::host::indexing {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// What makes a name stand for something else.
constexpr std::uint32_t SWAPS =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

constexpr std::uint32_t CHANGES = IN_ATTRIB | IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_DELETE |
                                  IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR | IN_DONT_FOLLOW;

[[noreturn]] void fail(const std::string& what) {
  const int error = errno;
  std::string advice;
  if (error == ENOSPC) {
    advice =
        ": the system watches no more folders for you. Allow more, for instance with: "
        "sysctl fs.inotify.max_user_watches=1048576";
  } else if (error == EMFILE) {
    advice =
        ": too many programs watch folders. End some, or allow more, for instance with: "
        "sysctl fs.inotify.max_user_instances=1024";
  }
  if (!advice.empty()) throw std::runtime_error(what + " cannot be watched" + advice);
  throw std::system_error(error, std::generic_category(), what + " cannot be watched");
}

}  // namespace

FolderWatch::FolderWatch(std::filesystem::path root, int wake)
    : root_(std::filesystem::absolute(root)), wake_(wake) {
  start();
}

FolderWatch::~FolderWatch() { ::close(inotify_); }

// Begins anew, without what was watched before.
void FolderWatch::start() {
  const int inotify = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (inotify < 0) fail(root_.string());
  if (inotify_ >= 0) ::close(inotify_);
  inotify_ = inotify;
  ways_.clear();
  way_changed_ = false;
}

void FolderWatch::watch_folders(const std::vector<std::string>& leave_out) {
  if (way_changed_) start();
  watch_way_to(root_.lexically_normal());
  std::error_code gone;
  watch_way_to(std::filesystem::canonical(root_, gone));  // beyond links, if it is there
  for (const std::string& folder : list_folders(root_, leave_out)) {
    const std::filesystem::path path = root_ / folder;
    if (::inotify_add_watch(inotify_, path.c_str(), CHANGES) >= 0) continue;
    // What is gone or unreadable is for the listing to report.
    if (errno != ENOENT && errno != ENOTDIR && errno != EACCES) fail(path.string());
  }
}

void FolderWatch::watch_way_to(const std::filesystem::path& folder) {
  for (std::filesystem::path at = folder; at.has_relative_path(); at = at.parent_path()) {
    if (!at.has_filename()) continue;  // it ends with a slash
    const std::filesystem::path above = at.parent_path();
    const int watch = ::inotify_add_watch(inotify_, above.c_str(), SWAPS | IN_ONLYDIR);
    if (watch >= 0) {
      ways_[watch].insert(at.filename().string());
    } else if (errno != ENOENT && errno != ENOTDIR && errno != EACCES) {
      fail(above.string());
    }
  }
}

bool FolderWatch::wait(milliseconds quiet, milliseconds longest) {
  Event event = next(milliseconds(-1));
  const Clock::time_point end = Clock::now() + longest;
  while (event == Event::change) {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (left <= milliseconds(0)) return true;
    event = next(std::min(quiet, left));
    untold_ = event == Event::wake;
  }
  return event != Event::wake;
}

bool FolderWatch::take_change() {
  const bool before = std::exchange(untold_, false);
  return read_changes() || before;
}

FolderWatch::Event FolderWatch::next(milliseconds timeout) {
  const Clock::time_point end = Clock::now() + timeout;
  while (true) {
    std::array<pollfd, 2> ready = {pollfd{inotify_, POLLIN, 0}, pollfd{wake_, POLLIN, 0}};
    int left = -1;
    if (timeout >= milliseconds(0)) {
      const auto rest = std::chrono::ceil<milliseconds>(end - Clock::now());
      left = static_cast<int>(std::max(rest, milliseconds(0)).count());
    }
    const int count = ::poll(ready.data(), ready.size(), left);
    if (count < 0 && errno != EINTR) fail(root_.string());
    if (count == 0) return Event::timeout;
    if (count < 0) continue;
    if (ready[1].revents != 0) return Event::wake;
    if (read_changes()) return Event::change;
  }
}

// Whether there was a change other than to the program's own folder and git's. A full queue is one:
// what it was does not matter, the round that follows looks at everything.
bool FolderWatch::read_changes() {
  bool changed = false;
  alignas(inotify_event) std::array<char, 65536> buffer;
  while (true) {
    const ssize_t count = ::read(inotify_, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return changed;
    for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const std::string name(event.len > 0 ? buffer.data() + at + sizeof event : "");
      const auto way = ways_.find(event.wd);
      if ((event.mask & IN_Q_OVERFLOW) != 0) {
        changed = way_changed_ = true;
      } else if ((event.mask & IN_IGNORED) != 0) {
        ways_.erase(event.wd);
      } else if (way != ways_.end()) {
        if (name.empty() || way->second.contains(name)) changed = way_changed_ = true;
      } else if (name != ".git" && name != ".velmora") {
        changed = true;
      }
      at += sizeof event + event.len;
    }
  }
}

}  // namespace velmora::host::indexing
