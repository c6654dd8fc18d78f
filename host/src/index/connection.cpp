#include "index/connection.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

#include "index/index_errors.h"
#include "index/page_checks.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;
using storage::Database;
using storage::DatabaseError;

fs::path shared_memory_of(const fs::path& file) { return file.string() + "-shm"; }

// No text or blob of an index is larger.
constexpr int LARGEST_VALUE = 1 << 28;

// What a statement of ours needs at most, or less than SQLite's own.
constexpr std::array<std::pair<int, int>, 8> LIMITS = {{{SQLITE_LIMIT_LENGTH, LARGEST_VALUE},
                                                        {SQLITE_LIMIT_SQL_LENGTH, 65'536},
                                                        {SQLITE_LIMIT_COLUMN, 64},
                                                        {SQLITE_LIMIT_EXPR_DEPTH, 64},
                                                        {SQLITE_LIMIT_COMPOUND_SELECT, 16},
                                                        {SQLITE_LIMIT_ATTACHED, 0},
                                                        {SQLITE_LIMIT_TRIGGER_DEPTH, 0},
                                                        {SQLITE_LIMIT_WORKER_THREADS, 0}}};

constexpr std::array<std::pair<int, int>, 7> SWITCHES = {
    {{SQLITE_DBCONFIG_DEFENSIVE, 1},
     {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
     {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
     {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
     {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
     {SQLITE_DBCONFIG_DQS_DDL, 0},
     {SQLITE_DBCONFIG_DQS_DML, 0}}};

void defend(Database& database) {
  for (const auto& [limit, value] : LIMITS) sqlite3_limit(database.handle(), limit, value);
  for (const auto& [what, value] : SWITCHES) {
    sqlite3_db_config(database.handle(), what, value, nullptr);
  }
  database.execute("PRAGMA cell_size_check = ON; PRAGMA mmap_size = 0");
}

Database open(const fs::path& file, int flags, FileAccess access) {
  // SQLite goes by names, so what stands there is looked at before.
  for (const fs::path& one : {file, log_of(file), shared_memory_of(file)}) {
    static_cast<void>(require_plain_file(one));
  }
  try {
    Database database(file.string(), flags | SQLITE_OPEN_NOFOLLOW, page_checking_vfs(access));
    defend(database);
    return database;
  } catch (const DatabaseError& error) {
    throw IndexError("The index at " + file.string() + " cannot be opened: " + error.what());
  }
}

bool may_write(const fs::path& file) {
  return ::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) == 0;
}

}  // namespace

FileIdentity file_identity(const fs::path& file) {
  struct stat status {};
  if (!require_plain_file(file)) throw no_index(file);
  if (::lstat(file.c_str(), &status) != 0) {
    throw IndexError("The index at " + file.string() +
                     " cannot be read: " + std::generic_category().message(errno));
  }
  return {status.st_dev, status.st_ino};
}

fs::path resolved(const fs::path& file) {
  const fs::path path = fs::absolute(file).lexically_normal();
  const fs::path folder = path.parent_path();
  if (folder.filename() != INDEX_FOLDER) return fs::weakly_canonical(folder) / path.filename();
  return fs::weakly_canonical(folder.parent_path()) / INDEX_FOLDER / path.filename();
}

Database connect(const fs::path& file, int flags) {
  Database database = open(file, SQLITE_OPEN_READWRITE | flags, FileAccess::shared);
  sqlite3_busy_timeout(database.handle(), 10'000);
  return database;
}

Database connect_still(const fs::path& file) {
  Database database = open(file, SQLITE_OPEN_READONLY, FileAccess::still);
  sqlite3_db_config(database.handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  database.execute("PRAGMA locking_mode = EXCLUSIVE");
  return database;
}

bool can_share(const fs::path& file) {
  // Whoever may not write the index makes no files beside it, which could be in its owner's way.
  return (may_write(file) && may_write(file.parent_path())) || fs::exists(shared_memory_of(file));
}

bool wants_still(const DatabaseError& error) {
  switch (error.code()) {
    case SQLITE_CANTOPEN:
    case SQLITE_FULL:
    case SQLITE_PERM:
    case SQLITE_READONLY:
      return true;
    case SQLITE_IOERR:
      return error.extended_code() != SQLITE_IOERR_DATA &&
             error.extended_code() != SQLITE_IOERR_READ;
    default:
      return false;
  }
}

void make_private(const fs::path& file) {
  // Opened only to make it: a process that closes any descriptor of a file loses all its locks on
  // it, and SQLite's would be among them.
  if (!require_plain_file(file)) static_cast<void>(open_plain_file(file, O_RDWR | O_CREAT));
  // The others were made with the mode that the file had then.
  for (const fs::path& one : {file, log_of(file), shared_memory_of(file)}) {
    if (require_plain_file(one)) static_cast<void>(::chmod(one.c_str(), 0600));
  }
}

void remove_index(const fs::path& file) noexcept {
  try {
    std::error_code ignored;
    for (const fs::path& one : {log_of(file), shared_memory_of(file), file}) {
      fs::remove(one, ignored);
    }
  } catch (const std::exception&) {
    // It opens as it is, or as no index.
  }
}

}  // namespace velmora::host::index
