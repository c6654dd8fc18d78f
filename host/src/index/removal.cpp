#include "index/removal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "index/index_file.h"
#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;

// Everything that is ever written into the folder, but for the logs. The index goes first: a log
// without its index is of no use, an index without its log may be half of one. The locks go last:
// whoever waits for one finds no index then.
constexpr std::array<const char*, 10> OWN_FILES = {
    "index.db",    "index.db-wal",     "index.db-shm", "index.db-journal",
    "tuned.model", "tuned.model.made", "embed.lock",   "watch.lock",
    "lock",        ".gitignore"};

// A write-ahead log: of this index or, when that was replaced, of one before it (log_of).
bool is_log(std::string_view name) {
  constexpr std::string_view BEGINNING = "index.db-wal";
  constexpr std::size_t DIGITS = 16;
  if (!name.starts_with(BEGINNING) || name.size() != BEGINNING.size() + DIGITS) return false;
  return name.find_first_not_of("0123456789abcdef", BEGINNING.size()) == std::string_view::npos;
}

// The names that files of this program may have, in the order in which they go.
std::vector<std::string> own_names(const fs::path& folder) {
  std::vector<std::string> names(OWN_FILES.begin(), OWN_FILES.end());
  std::vector<std::string> logs;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    std::string name = entry.path().filename().string();
    if (is_log(name)) logs.push_back(std::move(name));
  }
  std::ranges::sort(logs);
  names.insert(names.begin() + 1, logs.begin(), logs.end());
  return names;
}

[[noreturn]] void fail(const fs::path& what) {
  throw std::system_error(errno, std::generic_category(), what.string() + " cannot be removed");
}

}  // namespace

std::optional<Removal> Removal::find(const fs::path& repository) {
  const fs::path folder = repository / INDEX_FOLDER;
  OpenFile open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (open.descriptor() < 0) {
    if (errno == ENOENT) return std::nullopt;
    const bool refused = errno == ENOTDIR || errno == ELOOP;
    throw IndexError(folder.string() +
                     (refused ? " is no folder of an index but a link or a file"
                              : " cannot be read: " + std::generic_category().message(errno)));
  }
  Removal removal(folder, std::move(open));
  removal.look();
  if (removal.files_.empty() && removal.others_.empty()) return std::nullopt;
  return removal;
}

void Removal::look() {
  for (const std::string& name : own_names(folder_)) {
    struct stat status {};
    if (::fstatat(open_.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode)) files_.push_back({name, status.st_size});
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
    std::string name = entry.path().filename().string();
    if (std::ranges::find(files_, name, &File::name) == files_.end()) {
      others_.push_back(std::move(name));
    }
  }
  std::ranges::sort(others_);
  const fs::path database = folder_ / "index.db";
  const OpenFile file(::openat(open_.descriptor(), "index.db",
                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (file.descriptor() >= 0 ? !says_index(file.descriptor()) : errno != ENOENT) {
    throw IndexError(database.string() +
                     " is not an index of velmora. Remove it by other means if it is not needed");
  }
}

void Removal::remove() const {
  for (const std::string& name : own_names(folder_)) {  // locks came since
    struct stat status {};
    if (::fstatat(open_.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (!S_ISREG(status.st_mode)) continue;
    if (::unlinkat(open_.descriptor(), name.c_str(), 0) != 0 && errno != ENOENT) {
      fail(folder_ / name);
    }
  }
  if (::rmdir(folder_.c_str()) != 0 && errno != ENOTEMPTY && errno != EEXIST && errno != ENOENT) {
    fail(folder_);
  }
}

}  // namespace velmora::host::index
