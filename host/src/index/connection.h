// Connections to the file of an index, which nobody has to trust: what it says is read as data,
// with every defence that SQLite has, and nothing that it holds is ever run.
#pragma once

#include <sys/types.h>

#include <filesystem>

#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Which file stands at a path. A file that replaces another has another identity for as long as
// somebody holds the earlier one open.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const FileIdentity&) const = default;
};

// Throws IndexError when nothing stands at `file`, or what must not (index_folder.h).
[[nodiscard]] FileIdentity file_identity(const std::filesystem::path& file);

// The absolute path of `file` without the links among the folders above it. A folder `.velmora` is
// not looked through.
[[nodiscard]] std::filesystem::path resolved(const std::filesystem::path& file);

// Connects for reading and writing with SQLITE_OPEN_... `flags`. The path is a resolved one. Throws
// IndexError when the file, its log or its shared memory are not plain files, and when it cannot be
// opened.
[[nodiscard]] storage::Database connect(const std::filesystem::path& file, int flags);

// Connects to a file beside which nothing can be written. See FileAccess::still.
[[nodiscard]] storage::Database connect_still(const std::filesystem::path& file);

// Whether to try `connect` for a reader: it needs a place for what it shares with other processes.
// Where that fails all the same, by an error of the kind that the second tells, it is `still`.
[[nodiscard]] bool can_share(const std::filesystem::path& file);
[[nodiscard]] bool wants_still(const storage::DatabaseError& error);

// Makes the file, empty and its owner's alone, unless it is there. One that others may read becomes
// its owner's alone too.
void make_private(const std::filesystem::path& file);

// Removes the file and what belongs to it. What cannot be removed stays.
void remove_index(const std::filesystem::path& file) noexcept;

}  // namespace velmora::host::index
