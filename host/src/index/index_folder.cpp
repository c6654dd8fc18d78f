#include "velmora/host/index/index_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;

constexpr mode_t PRIVATE_FOLDER = 0700;
constexpr mode_t PRIVATE_FILE = 0600;

// What a folder of ours holds may go; what somebody named elsewhere is theirs.
[[noreturn]] void refuse(const fs::path& what, const std::string& fault) {
  const bool ours =
      what.filename() == INDEX_FOLDER || what.parent_path().filename() == INDEX_FOLDER;
  throw IndexError(what.string() + " " + fault +
                   (ours ? ". Remove it and try again" : ". Choose another file"));
}

[[noreturn]] void fail(const fs::path& what) {
  const std::string advice =
      errno == EACCES ? ". An index is for the user alone who made it, unless they allow more" : "";
  throw IndexError(what.string() + " cannot be opened: " + std::generic_category().message(errno) +
                   advice);
}

bool is_missing(int error) { return error == ENOENT || error == ENOTDIR; }

// False when the folder is missing.
bool require_folder(const fs::path& folder) {
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0) {
    if (is_missing(errno)) return false;
    fail(folder);
  }
  if (S_ISLNK(status.st_mode)) refuse(folder, "is a link, and an index is not kept elsewhere");
  if (!S_ISDIR(status.st_mode)) refuse(folder, "is not a folder");
  return true;
}

void write_all(const fs::path& file, const OpenFile& open, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(open.descriptor(), text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      throw IndexError(file.string() +
                       " cannot be written: " + std::generic_category().message(errno));
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

fs::path note_of(const fs::path& file) {
  fs::path note = file;
  note += ".made";
  return note;
}

}  // namespace

OpenFile::OpenFile(OpenFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

OpenFile::~OpenFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

fs::path repository_of(const fs::path& file) {
  const fs::path folder = file.parent_path();
  if (file.filename() != "index.db" || folder.filename() != INDEX_FOLDER) return {};
  return folder.parent_path();
}

void make_index_folder(const fs::path& repository) {
  const fs::path folder = repository / INDEX_FOLDER;
  if (!require_folder(folder)) {
    // Another process may be faster.
    if (::mkdir(folder.c_str(), PRIVATE_FOLDER) != 0 && errno != EEXIST) {
      throw IndexError(folder.string() +
                       " cannot be made: " + std::generic_category().message(errno) +
                       ". The index of a folder is kept inside it");
    }
    static_cast<void>(require_folder(folder));
    static_cast<void>(::chmod(folder.c_str(), PRIVATE_FOLDER));
  }
  const fs::path ignore = folder / ".gitignore";
  if (require_plain_file(ignore)) return;
  write_all(ignore, open_plain_file(ignore, O_WRONLY | O_CREAT), "*\n");
}

bool require_plain_file(const fs::path& file) {
  const fs::path folder = file.parent_path();
  if (folder.filename() == INDEX_FOLDER && !require_folder(folder)) return false;
  struct stat status {};
  if (::lstat(file.c_str(), &status) != 0) {
    if (is_missing(errno)) return false;
    fail(file);
  }
  if (S_ISLNK(status.st_mode)) refuse(file, "is a link");
  if (!S_ISREG(status.st_mode)) refuse(file, "is not a file");
  if (status.st_nlink != 1) refuse(file, "has a second name elsewhere");
  return true;
}

OpenFile open_plain_file(const fs::path& file, int flags) {
  static_cast<void>(require_plain_file(file));
  const int safe_flags = flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  OpenFile open(::open(file.c_str(), safe_flags, PRIVATE_FILE));
  if (open.descriptor() < 0) fail(file);
  // Not if the file is somebody else's, who may have reasons.
  if ((flags & O_CREAT) != 0) static_cast<void>(::fchmod(open.descriptor(), PRIVATE_FILE));
  return open;
}

std::string file_mark(const fs::path& file) {
  struct statx status {};
  if (::statx(AT_FDCWD, file.c_str(), AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_UID | STATX_BTIME,
              &status) != 0) {
    return {};
  }
  const bool has_birth = (status.stx_mask & STATX_BTIME) != 0;
  return std::to_string(status.stx_uid) + " " + std::to_string(status.stx_ino) + " " +
         (has_birth ? std::to_string(status.stx_btime.tv_sec) + "." +
                          std::to_string(status.stx_btime.tv_nsec)
                    : "-");
}

bool is_marked(const fs::path& file, const std::string& mark) {
  struct stat status {};
  if (::lstat(file.c_str(), &status) != 0 || mark.empty() || mark != file_mark(file)) return false;
  return status.st_uid == ::geteuid() || status.st_uid == 0;
}

void note_made_here(const fs::path& file) {
  const fs::path note = note_of(file);
  write_all(note, open_plain_file(note, O_WRONLY | O_CREAT | O_TRUNC), file_mark(file));
}

bool is_made_here(const fs::path& file) {
  const fs::path note = note_of(file);
  if (!require_plain_file(file) || !require_plain_file(note)) return false;
  const OpenFile open = open_plain_file(note, O_RDONLY);
  std::array<char, 256> text{};
  const ssize_t size = ::read(open.descriptor(), text.data(), text.size());
  return size > 0 && is_marked(file, std::string(text.data(), static_cast<std::size_t>(size)));
}

}  // namespace velmora::host::index
