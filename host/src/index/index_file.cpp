#include "index/index_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "index/connection.h"
#include "index/counterparts.h"
#include "index/index_errors.h"
#include "index/page_checks.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {
namespace {

using storage::Database;
using storage::DatabaseError;
using storage::Statement;

constexpr std::int64_t APPLICATION_ID = 0x56656C6D;  // "Velm"
constexpr std::int64_t FORMAT = 10;

// Without the indexes by which counterparts are found.
constexpr std::string_view TABLES = R"sql(
CREATE TABLE meta(
  identity TEXT NOT NULL,       -- random, made with the file
  generation INTEGER NOT NULL,  -- grows with every committed change
  state TEXT NOT NULL,          -- random, drawn for every generation: copies of a file part ways
  extraction TEXT NOT NULL,     -- the version of what made the symbols; empty: an import
  largest_file INTEGER NOT NULL DEFAULT 0,  -- in bytes, as the user said; 0: as settings say
  mark TEXT NOT NULL DEFAULT '',            -- of the file in which the index was made
  written INTEGER NOT NULL DEFAULT 0,       -- when the generation grew last, in seconds since 1970
  version TEXT NOT NULL DEFAULT ''          -- of the velmora that did this
);
-- What is known of a file that nobody read: its path.
CREATE TABLE files(
  id INTEGER PRIMARY KEY,
  path TEXT NOT NULL UNIQUE,
  language TEXT NOT NULL DEFAULT '',
  expected TEXT NOT NULL DEFAULT '',     -- the language that is told of it, unread
  is_header INTEGER NOT NULL DEFAULT 0,  -- whether that is a guess
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
  docstring TEXT,
  words TEXT NOT NULL  -- of the body
);
-- What Catalog::has_thing finds.
CREATE INDEX things_by_name ON symbols(name)
  WHERE name GLOB '[A-Z]*' AND name NOT GLOB '?*[^a-z]*'
  AND kind NOT IN ('function', 'method', 'constructor', 'macro');
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
INSERT INTO meta(identity, generation, state, extraction)
  VALUES(lower(hex(randomblob(16))), 0, lower(hex(randomblob(16))), '');
)sql";

std::string all_tables() {
  return std::string(TABLES) + "CREATE INDEX documented_by_fqn ON symbols(fqn) WHERE " +
         documented_sql() + ";CREATE INDEX undocumented_by_fqn ON symbols(fqn) WHERE " +
         undocumented_sql();
}

std::int64_t number(Database& database, std::string_view sql) {
  Statement statement = database.prepare(sql);
  return statement.step() ? statement.column_int64(0) : 0;
}

// Bounds what reading the description of the tables can cost, while it lives: a file may describe
// as many and as long ones as it likes.
class Bounds {
 public:
  explicit Bounds(Database& database)
      : database_(database.handle()),
        length_(sqlite3_limit(database_, SQLITE_LIMIT_LENGTH, LONGEST_TEXT)) {
    sqlite3_progress_handler(
        database_, STEPS, [](void*) { return 1; }, nullptr);
  }
  Bounds(const Bounds&) = delete;
  ~Bounds() {
    sqlite3_progress_handler(database_, 0, nullptr, nullptr);
    sqlite3_limit(database_, SQLITE_LIMIT_LENGTH, length_);
  }

 private:
  static constexpr int LONGEST_TEXT = 65'536;
  static constexpr int STEPS = 10'000;  // of SQLite's machine, a multiple of what ours takes

  sqlite3* database_;
  int length_;
};

// Everything that the database describes, as it is stored.
std::string schema_of(Database& database) {
  std::string schema;
  Statement select =
      database.prepare("SELECT type, name, tbl_name, sql FROM sqlite_schema ORDER BY type, name");
  while (select.step()) {
    for (int column = 0; column < 4; ++column) schema.append(select.column_text(column)) += '\0';
  }
  return schema;
}

const std::string& our_schema() {
  // Never destroyed: hosts have threads and functions that run at the end of the process.
  static const std::string& schema = *[] {
    Database made(":memory:", SQLITE_OPEN_READWRITE);
    made.execute(all_tables());
    return new std::string(schema_of(made));
  }();
  return schema;
}

// How many bytes at the end of each page the database reserves.
int reserved_bytes(Database& database) {
  int bytes = -1;  // asks
  sqlite3_file_control(database.handle(), "main", SQLITE_FCNTL_RESERVE_BYTES, &bytes);
  return bytes;
}

UnusableIndexError not_an_index(const std::filesystem::path& file) {
  return {file.string() + " is not an index of velmora",
          "Choose another file, or make one with: " + making_command(file)};
}

bool is_ours(Database& database) {
  return number(database, "PRAGMA page_size") == PAGE_SIZE &&
         reserved_bytes(database) == CHECKSUM_SIZE && schema_of(database) == our_schema();
}

}  // namespace

Content inspect(Database& database, const std::filesystem::path& file) {
  const Bounds bounds(database);
  try {
    const std::int64_t application = number(database, "PRAGMA application_id");
    const std::int64_t format = number(database, "PRAGMA user_version");
    if (application == 0 && number(database, "PRAGMA page_count") <= 1 &&
        schema_of(database).empty()) {
      return Content::blank;
    }
    if (application != APPLICATION_ID) throw not_an_index(file);
    if (format != FORMAT) {
      throw UnusableIndexError(
          "The index at " + file.string() + " has format " + std::to_string(format) +
              ", and this version of velmora reads format " + std::to_string(FORMAT),
          remaking_advice(file));
    }
    if (!is_ours(database)) throw damaged(file);
    const bool unfilled = number(database, "SELECT generation FROM meta") == 0;
    return unfilled ? Content::unfilled : Content::filled;
  } catch (const DatabaseError& error) {
    switch (error.code()) {
      case SQLITE_NOTADB:
        throw not_an_index(file);
      case SQLITE_ERROR:      // tables that SQLite cannot read
      case SQLITE_INTERRUPT:  // or that are too many,
      case SQLITE_TOOBIG:     // or too long
        throw damaged(file);
      default:
        throw;
    }
  }
}

void verify(Database& database, const std::filesystem::path& file) {
  with_index_errors(file, [&] {
    Statement check = database.prepare("PRAGMA quick_check(1)");
    if (!check.step() || check.column_text(0) != "ok") throw damaged(file);
  });
}

bool was_made_here(Database& database, const std::filesystem::path& file) {
  Statement select = database.prepare("SELECT mark FROM meta");
  return select.step() && is_marked(file, std::string(select.column_text(0)));
}

bool says_index(int descriptor) {
  // By the format of SQLite's files, the application's number is at the 68th byte, big-endian. It
  // is zero until the log that says otherwise is worked in.
  constexpr std::string_view MAGIC("SQLite format 3\0", 16);
  constexpr std::size_t AT = 68;
  std::array<char, 100> header{};
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  if (status.st_size == 0) return true;
  if (::pread(descriptor, header.data(), header.size(), 0) != static_cast<ssize_t>(header.size()) ||
      !std::string_view(header.data(), header.size()).starts_with(MAGIC)) {
    return false;
  }
  std::int64_t application = 0;
  for (std::size_t i = AT; i < AT + 4; ++i) {
    application = application << 8 | static_cast<unsigned char>(header[i]);
  }
  return application == APPLICATION_ID || (application == 0 && status.st_size <= PAGE_SIZE);
}

void create_tables(Database& database, const std::filesystem::path& file) {
  if (inspect(database, file) != Content::blank) return;
  int reserved = CHECKSUM_SIZE;
  sqlite3_file_control(database.handle(), "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
  // A file that a crash leaves in between has no table and is no loss.
  database.execute("PRAGMA page_size = " + std::to_string(PAGE_SIZE) +
                   "; PRAGMA journal_mode = MEMORY; PRAGMA journal_mode = WAL");
  storage::Transaction transaction(database, "BEGIN IMMEDIATE");
  if (inspect(database, file) != Content::blank) return;  // another process was faster
  database.execute(all_tables());
  database.prepare("UPDATE meta SET mark = ?").bind(1, std::string_view(file_mark(file))).run();
  database.execute("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
  database.execute("PRAGMA user_version = " + std::to_string(FORMAT));
  transaction.commit();
}

void remove_unfilled(const std::filesystem::path& file) noexcept {
  try {
    Database database = connect(file, 0);
    // Under the writer's lock, so that nobody fills the file meanwhile.
    storage::Transaction transaction(database, "BEGIN IMMEDIATE");
    if (inspect(database, file) != Content::filled) remove_index(file);
  } catch (const std::exception&) {
    // What cannot be removed stays: it opens as no index, and can be filled later.
  }
}

}  // namespace velmora::host::index
