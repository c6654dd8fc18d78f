// What the file of an index holds: its tables, and whether they are ours.
#pragma once

#include <filesystem>

#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// What a file holds that is not refused.
enum class Content {
  blank,     // no table at all: a file that somebody is about to make an index of
  unfilled,  // an index that nothing was ever written to
  filled,
};

// Throws UnusableIndexError when the database is not an index, or one of another format, or damaged
// where its tables are described: they are exactly ours, or nothing is run on them. Takes a bounded
// time and memory, whatever the file holds.
[[nodiscard]] Content inspect(storage::Database& database, const std::filesystem::path& file);

// Reads all of an index that was inspected and throws UnusableIndexError when any of it is damaged,
// or stands where it does not belong.
void verify(storage::Database& database, const std::filesystem::path& file);

// Whether this index was made where it is, by this user or the system's administrator; else it came
// with a clone, an archive or a copy.
[[nodiscard]] bool was_made_here(storage::Database& database, const std::filesystem::path& file);

// Whether the open file says that it is an index, of any format, whole or damaged, or that it was
// to become one.
[[nodiscard]] bool says_index(int descriptor);

// Makes an unfilled index of a blank database. Leaves one that is an index by now as it is.
void create_tables(storage::Database& database, const std::filesystem::path& file);

// Removes the index at `file` unless it was filled.
void remove_unfilled(const std::filesystem::path& file) noexcept;

}  // namespace velmora::host::index
