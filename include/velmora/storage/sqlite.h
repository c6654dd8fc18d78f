// Small owners of SQLite's handles, for the library and for hosts that keep their index in SQLite.
//
// Threads: a Database and its Statements are used by one thread at a time; connections are opened
// without a mutex of their own, so whoever shares one brings the lock. Errors: every failing call
// throws DatabaseError, or std::bad_alloc when SQLite ran out of memory.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "velmora/export.h"

namespace velmora::storage {

// An error of the database.
class VELMORA_API DatabaseError : public std::runtime_error {
 public:
  // `code` is an extended result code of SQLite, `message` says what went wrong.
  DatabaseError(int code, const std::string& message) : std::runtime_error(message), code_(code) {}

  // SQLite's primary result code, for instance SQLITE_CONSTRAINT.
  [[nodiscard]] int code() const noexcept { return code_ & 0xFF; }

  // SQLite's extended result code, for instance SQLITE_CONSTRAINT_PRIMARYKEY.
  [[nodiscard]] int extended_code() const noexcept { return code_; }

 private:
  int code_;
};

// A prepared statement. Texts and blobs are bound by reference: they must live until the statement
// is reset or bound anew. Moved-from statements may only be destroyed or assigned to.
class VELMORA_API Statement {
 public:
  Statement() = default;
  // Prepares the first statement of `sql`; `flags` are SQLITE_PREPARE_... flags.
  Statement(sqlite3* database, std::string_view sql, unsigned flags = 0);

  // Binds a parameter, the first of which is 1; a text may hold NUL bytes.
  Statement& bind(int index, std::int64_t value);
  Statement& bind(int index, double value);                          // as REAL
  Statement& bind(int index, std::string_view text);                 // as TEXT, never NULL
  Statement& bind(int index, std::optional<std::string_view> text);  // as TEXT or NULL
  // As TEXT, by reference; one that is about to be gone does not compile.
  Statement& bind(int index, const std::string& text) {
    return bind(index, std::string_view(text));
  }
  Statement& bind(int index, std::string&& text) = delete;
  Statement& bind_blob(int index, std::span<const std::byte> bytes);  // as BLOB, never NULL
  // Binds a pointer for a function of SQLite's; `type` names what the pointer points at and must
  // have static storage.
  Statement& bind_pointer(int index, void* pointer, const char* type);

  // Moves to the next row; false when there is none left. An error resets the statement.
  bool step();
  // Closes the cursor, so that the statement can run again. Keeps the bound values.
  void reset() noexcept;
  // Runs the statement to its end and resets it, ignoring its rows.
  void run();

  // A column of the row, the first of which is 0. Texts and blobs live until the next step or
  // reset.
  [[nodiscard]] std::int64_t column_int64(int column) const;
  [[nodiscard]] double column_double(int column) const;          // REAL
  [[nodiscard]] std::string_view column_text(int column) const;  // TEXT; empty for NULL
  [[nodiscard]] std::optional<std::string_view> column_optional_text(int column) const;  // or NULL
  [[nodiscard]] std::span<const std::byte> column_blob(int column) const;  // BLOB; empty for NULL

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  void check(int code) const;

  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// An open database. Closed by the destructor; its statements must be gone by then.
class VELMORA_API Database {
 public:
  // Opens the file at `path` (UTF-8) with SQLITE_OPEN_... `flags`, through the VFS of that name, or
  // SQLite's own when it is null.
  Database(const std::string& path, int flags, const char* vfs = nullptr);

  // SQLite's own, for calls that this class does not have.
  [[nodiscard]] sqlite3* handle() const { return database_.get(); }

  // Runs every statement of `sql`, ignoring rows.
  void execute(const std::string& sql);
  // Prepares the first statement of `sql`; `flags` are SQLITE_PREPARE_... flags.
  [[nodiscard]] Statement prepare(std::string_view sql, unsigned flags = 0) const;

 private:
  struct Close {
    void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
  };
  std::unique_ptr<sqlite3, Close> database_;
};

// A transaction that rolls back unless it was committed.
class VELMORA_API Transaction {
 public:
  // `begin` may be "BEGIN IMMEDIATE" or the like. The database must outlive the transaction.
  explicit Transaction(Database& database, const std::string& begin = "BEGIN");
  Transaction(Database&&, const std::string& = "") = delete;
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction();

  // Keeps what was done; the last call.
  void commit();

 private:
  Database& database_;
  bool open_ = true;
};

// Throws what stands for the result `code` of a call on `database` (which may be null).
[[noreturn]] VELMORA_API void throw_database_error(sqlite3* database, int code);

}  // namespace velmora::storage
