#include "index/index_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <exception>
#include <string_view>
#include <system_error>

#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

using storage::Database;
using storage::DatabaseError;

constexpr std::int64_t APPLICATION_ID = 0x56656C6D;  // "Velm"
constexpr std::int64_t FORMAT = 6;

constexpr const char* TABLES = R"sql(
CREATE TABLE meta(
  identity TEXT NOT NULL,       -- random, made with the file
  generation INTEGER NOT NULL,  -- grows with every committed change
  state TEXT NOT NULL,          -- random, drawn for every generation: copies of a file part ways
  extraction TEXT NOT NULL      -- the version of what made the symbols; empty: an import
);
-- What is known of a file that nobody read: its path.
CREATE TABLE files(
  id INTEGER PRIMARY KEY,
  path TEXT NOT NULL UNIQUE,
  language TEXT NOT NULL DEFAULT '',
  expected TEXT NOT NULL DEFAULT '',     -- the language that the names of files tell
  size INTEGER NOT NULL DEFAULT -1,      -- in bytes
  modified INTEGER NOT NULL DEFAULT -1,  -- in nanoseconds since 1970; -1: read it again
  changed INTEGER NOT NULL DEFAULT -1,   -- it or what the system keeps of it; likewise
  inode INTEGER NOT NULL DEFAULT 0,
  hash INTEGER NOT NULL DEFAULT 0,       -- of the content
  skipped TEXT NOT NULL DEFAULT ''       -- why it was left out
);
CREATE TABLE symbols(
  id INTEGER PRIMARY KEY,  -- the file's and the symbol's number in it; of an import any
  file INTEGER NOT NULL,
  fqn TEXT NOT NULL,
  name TEXT NOT NULL,
  kind TEXT NOT NULL,
  language TEXT NOT NULL,
  start_line INTEGER NOT NULL,
  end_line INTEGER NOT NULL,
  signature TEXT,
  docstring TEXT
);
CREATE TABLE models(
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL UNIQUE,
  -- What its vectors are: float32, float16 or, of the program's own model alone, int8.
  kind TEXT NOT NULL CHECK(kind IN ('float32', 'float16', 'int8')),
  -- Of a model that embeds texts, else NULL: what stands before a text, and its length.
  prefix TEXT,
  text_length INTEGER
);
-- Which symbol has which vector.
CREATE TABLE embeddings(
  model INTEGER NOT NULL,
  symbol INTEGER NOT NULL,
  vector INTEGER NOT NULL,
  PRIMARY KEY(model, symbol)
) WITHOUT ROWID;
-- Symbols that changed since a model had its turn to embed them.
CREATE TABLE waiting(
  model INTEGER NOT NULL,
  symbol INTEGER NOT NULL,
  PRIMARY KEY(model, symbol)
) WITHOUT ROWID;
CREATE TABLE vectors(
  id INTEGER PRIMARY KEY,
  model INTEGER NOT NULL,
  text BLOB,              -- the key of the text; NULL: the vector is that of one symbol alone
  numbers BLOB NOT NULL   -- of the model's kind, little-endian
);
CREATE UNIQUE INDEX vectors_by_text ON vectors(model, text) WHERE text IS NOT NULL;
INSERT INTO meta VALUES(lower(hex(randomblob(16))), 0, lower(hex(randomblob(16))), '');
)sql";

std::int64_t number(Database& database, std::string_view sql) {
  storage::Statement statement = database.prepare(sql);
  return statement.step() ? statement.column_int64(0) : 0;
}

// The command that makes an index at `file`.
std::string making_command(const std::filesystem::path& file) {
  const std::filesystem::path folder = file.parent_path();
  if (file.filename() == "index.db" && folder.filename() == ".velmora") {
    return "velmora index " + folder.parent_path().string();
  }
  return "velmora import --index " + file.string() + " ROWS.jsonl";
}

}  // namespace

std::string no_index_message(const std::filesystem::path& file) {
  return "There is no index at " + file.string() + ". Make one with: " + making_command(file);
}

FileIdentity file_identity(const std::filesystem::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) throw IndexError(no_index_message(file));
    throw IndexError("The index at " + file.string() +
                     " cannot be read: " + std::generic_category().message(errno));
  }
  return {status.st_dev, status.st_ino};
}

Database connect(const std::filesystem::path& file, int flags) {
  try {
    Database database(file.string(), SQLITE_OPEN_READWRITE | flags);
    sqlite3_busy_timeout(database.handle(), 10'000);
    return database;
  } catch (const DatabaseError& error) {
    throw IndexError("The index at " + file.string() + " cannot be opened: " + error.what());
  }
}

Content inspect(Database& database, const std::filesystem::path& file) {
  std::int64_t application = 0;
  std::int64_t format = 0;
  bool blank = false;
  try {
    application = number(database, "PRAGMA application_id");
    format = number(database, "PRAGMA user_version");
    blank = application == 0 && number(database, "SELECT count(*) FROM sqlite_schema") == 0;
  } catch (const DatabaseError& error) {
    if (error.code() != SQLITE_NOTADB) throw;
  }
  if (blank) return Content::blank;
  if (application != APPLICATION_ID) {
    throw IndexError(file.string() +
                     " is not an index of velmora. Choose another file, or make one with: " +
                     making_command(file));
  }
  if (format != FORMAT) {
    throw IndexError("The index at " + file.string() + " has format " + std::to_string(format) +
                     ", and this version of velmora reads format " + std::to_string(FORMAT) +
                     ". Remove the file and make it anew with: " + making_command(file));
  }
  return number(database, "SELECT generation FROM meta") == 0 ? Content::unfilled : Content::filled;
}

void create_tables(Database& database, const std::filesystem::path& file) {
  if (inspect(database, file) != Content::blank) return;
  // Large pages waste less of themselves on vectors, which take some kilobytes each.
  database.execute("PRAGMA page_size = 16384; PRAGMA journal_mode = WAL");
  storage::Transaction transaction(database, "BEGIN IMMEDIATE");
  if (inspect(database, file) != Content::blank) return;  // another process was faster
  database.execute(TABLES);
  database.execute("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
  database.execute("PRAGMA user_version = " + std::to_string(FORMAT));
  transaction.commit();
}

void remove_unfilled(const std::filesystem::path& file) noexcept {
  try {
    Database database = connect(file, 0);
    // Under the writer's lock, so that nobody fills the file meanwhile.
    storage::Transaction transaction(database, "BEGIN IMMEDIATE");
    if (inspect(database, file) == Content::filled) return;
    for (const char* suffix : {"", "-wal", "-shm"}) {
      std::error_code ignored;
      std::filesystem::remove(file.string() + suffix, ignored);
    }
  } catch (const std::exception&) {
    // What cannot be removed stays: it opens as no index, and can be filled later.
  }
}

}  // namespace velmora::host::index
