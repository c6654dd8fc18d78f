// What users are told of the file of an index that fails: which file it is, what is wrong and what
// to do about it.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "velmora/host/index/index.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// What stands at the path is no index that this version can use, and will not become one.
class UnusableIndexError : public IndexError {
 public:
  // Both are sentences without a full stop.
  UnusableIndexError(const std::string& fault, const std::string& advice)
      : IndexError(fault + ". " + advice), fault_(fault) {}

  [[nodiscard]] const std::string& fault() const { return fault_; }

 private:
  std::string fault_;
};

// Somebody else is writing the index.
class BusyIndexError : public IndexError {
 public:
  using IndexError::IndexError;
};

// There is no index at the path, or one that was never filled.
class NoIndexError : public IndexError {
 public:
  using IndexError::IndexError;
};

// Names the command that makes one.
[[nodiscard]] NoIndexError no_index(const std::filesystem::path& file);

[[nodiscard]] UnusableIndexError damaged(const std::filesystem::path& file);

// The command that makes an index at `file`.
[[nodiscard]] std::string making_command(const std::filesystem::path& file);

// The sentence that tells how to get another index at `file` than the one that is there.
[[nodiscard]] std::string remaking_advice(const std::filesystem::path& file);

// Whether the error says that the file is damaged, or was never a database.
[[nodiscard]] bool is_damage(const storage::DatabaseError& error);

// Throws what `error` says of the index at `file`, as an IndexError.
[[noreturn]] void throw_as_index_error(const storage::DatabaseError& error,
                                       const std::filesystem::path& file);

// Runs `work`, whose errors of the database become IndexErrors about `file`.
template <class Work>
decltype(auto) with_index_errors(const std::filesystem::path& file, Work&& work) {
  try {
    return std::forward<Work>(work)();
  } catch (const storage::DatabaseError& error) {
    throw_as_index_error(error, file);
  }
}

}  // namespace velmora::host::index
