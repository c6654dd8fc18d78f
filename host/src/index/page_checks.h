// How SQLite reads and writes the file of an index: every page carries a checksum, so that a page
// that a disk damaged is an error where it is read, and not an answer.
//
// The checksum stands in the eight bytes at the end of a page that a database may reserve. Pages in
// the write-ahead log have SQLite's own checksums there, and get this one when they are copied to
// the file. A database that reserves no such bytes is read as it is, and its pages are written
// unchanged; whoever connects asks what it reserves.
//
// The write-ahead log of a file has a name that only this file's mark tells (index_folder.h): a log
// that came from elsewhere, which SQLite would take for a part of the file, is never found. For the
// same reason there are no rollback journals.
#pragma once

#include <filesystem>

namespace velmora::host::index {

// What a page of an index takes, and what of it is reserved. Large pages waste less of themselves
// on vectors, which take some kilobytes each.
inline constexpr int PAGE_SIZE = 16384;
inline constexpr int CHECKSUM_SIZE = 8;

enum class FileAccess {
  shared,  // with locks, among processes that read and write
  // For a file beside which nothing can be written, not even what tells other processes that it is
  // being read. Nothing is locked or written; a read fails with SQLITE_BUSY when the file has
  // changed since it was opened. REQUIRES: locking_mode=EXCLUSIVE and no checkpoint on close.
  still,
};

// The name of the SQLite VFS that does it, registered with the first call. Thread-safe.
[[nodiscard]] const char* page_checking_vfs(FileAccess access);

// Where the write-ahead log of `file` is, if it has one.
[[nodiscard]] std::filesystem::path log_of(const std::filesystem::path& file);

}  // namespace velmora::host::index
