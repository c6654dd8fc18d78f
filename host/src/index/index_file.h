// The file of an index: which file it is, how it is connected to, and what its tables are.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Which file stands at a path. A file that replaces another has another identity for as long as
// somebody holds the earlier one open.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const FileIdentity&) const = default;
};

// Throws IndexError when nothing stands at `file`.
[[nodiscard]] FileIdentity file_identity(const std::filesystem::path& file);

// Connects with SQLITE_OPEN_... `flags` for reading and writing. Throws IndexError when the file
// cannot be opened.
[[nodiscard]] storage::Database connect(const std::filesystem::path& file, int flags);

// What a file holds that is not refused.
enum class Content {
  blank,     // no table at all: a file that somebody is about to make an index of
  unfilled,  // an index that nothing was ever written to
  filled,
};

// Throws IndexError when the database is not an index, or one of another format.
[[nodiscard]] Content inspect(storage::Database& database, const std::filesystem::path& file);

// Makes an unfilled index of a blank database. Leaves one that is an index by now as it is.
void create_tables(storage::Database& database, const std::filesystem::path& file);

// Removes the index at `file` unless it was filled.
void remove_unfilled(const std::filesystem::path& file) noexcept;

// The sentence that there is no index at `file`, and the command that makes one.
[[nodiscard]] std::string no_index_message(const std::filesystem::path& file);

}  // namespace velmora::host::index
