#include "index/page_checks.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "index/content_hash.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {
namespace {

using Page = std::span<const char, PAGE_SIZE>;
using Checksum = std::array<char, CHECKSUM_SIZE>;

// Of a page by its place too: one that stands where another belongs is as wrong.
Checksum checksum_of(Page page, sqlite3_int64 offset) {
  const std::string_view content(page.data(), PAGE_SIZE - CHECKSUM_SIZE);
  const std::uint64_t hash = content_hash(content, static_cast<std::uint64_t>(offset));
  Checksum checksum{};
  for (std::size_t i = 0; i < checksum.size(); ++i) {
    checksum[i] = static_cast<char>(hash >> (8 * i) & 0xFFU);
  }
  return checksum;
}

// Whether a database that begins with these bytes keeps checksums: its header tells the size of its
// pages and how much of them is reserved.
bool keeps_checksums(std::span<const char> begin) {
  constexpr std::size_t SIZE_AT = 16;
  constexpr std::size_t RESERVED_AT = 20;
  if (begin.size() <= RESERVED_AT) return false;
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(begin[at]); };
  return byte(SIZE_AT) * 256 + byte(SIZE_AT + 1) == PAGE_SIZE && byte(RESERVED_AT) == CHECKSUM_SIZE;
}

// What differs when a file was written to in between.
struct Moment {
  explicit Moment(const char* file) {
    struct stat status {};
    if (::lstat(file, &status) != 0) return;
    inode = status.st_ino;
    size = status.st_size;
    seconds = status.st_mtim.tv_sec;
    nanoseconds = status.st_mtim.tv_nsec;
  }
  bool operator==(const Moment&) const = default;

  ino_t inode = 0;
  off_t size = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
};

constexpr const char* NOTHING = "/dev/null";
constexpr std::string_view LOG_SUFFIX = "-wal";

// SQLite's own way to the disk, which this one goes through.
sqlite3_vfs& disk() {
  static sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
  return *vfs;
}

// An open database or log. The disk's own file stands behind it in memory.
struct File {
  sqlite3_file base = {};  // first: SQLite knows the file by it
  bool is_database = false;
  bool is_still = false;
  bool has_checksums = false;
  std::string path = {};
  Moment opened{NOTHING};

  sqlite3_file* under() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

File* file_of(sqlite3_file* base) { return reinterpret_cast<File*>(base); }

// Calls a function of the disk's file.
template <auto Function, class... Arguments>
int pass(sqlite3_file* base, Arguments... arguments) {
  sqlite3_file* const under = file_of(base)->under();
  return (under->pMethods->*Function)(under, arguments...);
}

template <auto Function, class... Arguments>
int lock_unless_still(sqlite3_file* base, Arguments... arguments) {
  return file_of(base)->is_still ? SQLITE_OK : pass<Function>(base, arguments...);
}

int close(sqlite3_file* base) {
  const int code = pass<&sqlite3_io_methods::xClose>(base);
  file_of(base)->~File();
  return code;
}

int read(sqlite3_file* base, void* buffer, int size, sqlite3_int64 offset) {
  File& file = *file_of(base);
  const int code = pass<&sqlite3_io_methods::xRead>(base, buffer, size, offset);
  if (file.is_still && file.path != NOTHING && Moment(file.path.c_str()) != file.opened) {
    return SQLITE_BUSY_SNAPSHOT;
  }
  if (!file.is_database || (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ)) return code;
  const auto* const bytes = static_cast<const char*>(buffer);
  if (offset == 0) file.has_checksums = keeps_checksums({bytes, static_cast<std::size_t>(size)});
  if (!file.has_checksums || size != PAGE_SIZE) return code;
  const Page page(bytes, PAGE_SIZE);
  const Checksum checksum = checksum_of(page, offset);
  const bool holds =
      code == SQLITE_OK &&
      std::memcmp(checksum.data(), page.last<CHECKSUM_SIZE>().data(), CHECKSUM_SIZE) == 0;
  return holds ? SQLITE_OK : SQLITE_IOERR_DATA;
}

int write(sqlite3_file* base, const void* buffer, int size, sqlite3_int64 offset) {
  File& file = *file_of(base);
  const auto* const bytes = static_cast<const char*>(buffer);
  if (file.is_database && offset == 0) {
    file.has_checksums = keeps_checksums({bytes, static_cast<std::size_t>(size)});
  }
  if (!file.is_database || !file.has_checksums || size != PAGE_SIZE) {
    return pass<&sqlite3_io_methods::xWrite>(base, buffer, size, offset);
  }
  std::array<char, PAGE_SIZE> page;
  std::memcpy(page.data(), bytes, PAGE_SIZE - CHECKSUM_SIZE);
  const Checksum checksum = checksum_of(page, offset);
  std::memcpy(page.data() + PAGE_SIZE - CHECKSUM_SIZE, checksum.data(), CHECKSUM_SIZE);
  const void* const written = page.data();
  return pass<&sqlite3_io_methods::xWrite>(base, written, size, offset);
}

void shared_memory_barrier(sqlite3_file* base) {
  sqlite3_file* const under = file_of(base)->under();
  under->pMethods->xShmBarrier(under);
}

// Version 2: there is no mapping of the file into memory, which would pass the checks by.
const sqlite3_io_methods METHODS = {
    .iVersion = 2,
    .xClose = close,
    .xRead = read,
    .xWrite = write,
    .xTruncate = pass<&sqlite3_io_methods::xTruncate, sqlite3_int64>,
    .xSync = pass<&sqlite3_io_methods::xSync, int>,
    .xFileSize = pass<&sqlite3_io_methods::xFileSize, sqlite3_int64*>,
    .xLock = lock_unless_still<&sqlite3_io_methods::xLock, int>,
    .xUnlock = lock_unless_still<&sqlite3_io_methods::xUnlock, int>,
    .xCheckReservedLock = pass<&sqlite3_io_methods::xCheckReservedLock, int*>,
    .xFileControl = pass<&sqlite3_io_methods::xFileControl, int, void*>,
    .xSectorSize = pass<&sqlite3_io_methods::xSectorSize>,
    .xDeviceCharacteristics = pass<&sqlite3_io_methods::xDeviceCharacteristics>,
    .xShmMap = pass<&sqlite3_io_methods::xShmMap, int, int, int, void volatile**>,
    .xShmLock = pass<&sqlite3_io_methods::xShmLock, int, int, int>,
    .xShmBarrier = shared_memory_barrier,
    .xShmUnmap = pass<&sqlite3_io_methods::xShmUnmap, int>,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

// The name under which the disk has what SQLite calls `name`.
std::string name_on_disk(std::string_view name) {
  if (!name.ends_with(LOG_SUFFIX)) return std::string(name);
  name.remove_suffix(LOG_SUFFIX.size());
  return log_of(name);
}

int open_file(File& file, const char* name, int flags, int* out) {
  file.is_database = (flags & SQLITE_OPEN_MAIN_DB) != 0;
  file.path = file.is_database ? name : name_on_disk(name);
  if (file.is_still) {
    flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    // A log that is missing cannot be made: in its place stands an empty one.
    struct stat status {};
    if (!file.is_database && ::lstat(file.path.c_str(), &status) != 0) file.path = NOTHING;
    file.opened = Moment(file.path.c_str());
  }
  // SQLite reads parameters behind the name of a database, so that is passed on itself.
  const char* const opened = file.is_database ? name : file.path.c_str();
  file.under()->pMethods = nullptr;
  return disk().xOpen(&disk(), opened, file.under(), flags, out);
}

int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* memory, int flags, int* out) {
  memory->pMethods = nullptr;
  if ((flags & SQLITE_OPEN_MAIN_JOURNAL) != 0) return SQLITE_CANTOPEN;
  if ((flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL)) == 0 || name == nullptr) {
    return disk().xOpen(&disk(), name, memory, flags, out);  // a temporary file
  }
  auto* const file = new (memory) File;
  file->is_still = vfs->pAppData != nullptr;
  int code = SQLITE_NOMEM;
  try {
    code = open_file(*file, name, flags, out);
  } catch (const std::bad_alloc&) {
  }
  if (code == SQLITE_OK) {
    file->base.pMethods = &METHODS;
  } else {
    file->~File();
  }
  return code;
}

int remove(sqlite3_vfs*, const char* name, int sync) {
  try {
    return disk().xDelete(&disk(), name_on_disk(name).c_str(), sync);
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  }
}

int access(sqlite3_vfs*, const char* name, int flags, int* result) {
  if (std::string_view(name).ends_with("-journal")) {
    *result = 0;
    return SQLITE_OK;
  }
  try {
    return disk().xAccess(&disk(), name_on_disk(name).c_str(), flags, result);
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  }
}

sqlite3_vfs vfs_for(const char* name, FileAccess access_kind) {
  static_assert(sizeof(File) % alignof(std::max_align_t) == 0, "the disk's file stands aligned");
  static int is_still = 1;
  sqlite3_vfs vfs = disk();  // what is not said below is as on the disk
  vfs.iVersion = 2;          // beyond are system calls, which are not ours
  vfs.szOsFile = static_cast<int>(sizeof(File)) + disk().szOsFile;
  vfs.pNext = nullptr;
  vfs.zName = name;
  vfs.pAppData = access_kind == FileAccess::still ? &is_still : nullptr;
  vfs.xOpen = open;
  vfs.xDelete = remove;
  vfs.xAccess = access;
  return vfs;
}

}  // namespace

const char* page_checking_vfs(FileAccess access_kind) {
  static sqlite3_vfs shared = vfs_for("velmora-index", FileAccess::shared);
  static sqlite3_vfs still = vfs_for("velmora-still-index", FileAccess::still);
  static const bool registered = [] {
    return sqlite3_vfs_register(&shared, 0) == SQLITE_OK &&
           sqlite3_vfs_register(&still, 0) == SQLITE_OK;
  }();
  static_cast<void>(registered);
  return access_kind == FileAccess::shared ? shared.zName : still.zName;
}

std::filesystem::path log_of(const std::filesystem::path& file) {
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx",
                static_cast<unsigned long long>(content_hash(file_mark(file))));
  // SQLite takes the mode of a log from the file whose name stands before the last hyphen.
  return file.string() + std::string(LOG_SUFFIX) + digits.data();
}

}  // namespace velmora::host::index
