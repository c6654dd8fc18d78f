#include "velmora/storage/sqlite.h"

#include <limits>
#include <new>

namespace velmora::storage {

void throw_database_error(sqlite3* database, int code) {
  if ((code & 0xFF) == SQLITE_NOMEM) throw std::bad_alloc();
  std::string message = sqlite3_errstr(code);
  if (database != nullptr && sqlite3_extended_errcode(database) == code) {
    message = sqlite3_errmsg(database);
  }
  throw DatabaseError(code, message);
}

Statement::Statement(sqlite3* database, std::string_view sql, unsigned flags) {
  if (sql.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw_database_error(nullptr, SQLITE_TOOBIG);
  }
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), flags,
                                      &statement, nullptr);
  if (code != SQLITE_OK) throw_database_error(database, sqlite3_extended_errcode(database));
  statement_.reset(statement);
}

void Statement::check(int code) const {
  if (code == SQLITE_OK) return;
  sqlite3* database = sqlite3_db_handle(statement_.get());
  // A connection reports primary codes unless told otherwise; its own memory of the error is finer.
  const int extended = sqlite3_extended_errcode(database);
  throw_database_error(database, (extended & 0xFF) == (code & 0xFF) ? extended : code);
}

Statement& Statement::bind(int index, std::int64_t value) {
  check(sqlite3_bind_int64(statement_.get(), index, value));
  return *this;
}

Statement& Statement::bind(int index, double value) {
  check(sqlite3_bind_double(statement_.get(), index, value));
  return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
  // A null pointer would bind NULL, and an empty view may hold one.
  const char* data = text.data() != nullptr ? text.data() : "";
  check(
      sqlite3_bind_text64(statement_.get(), index, data, text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

Statement& Statement::bind(int index, std::optional<std::string_view> text) {
  if (text) return bind(index, *text);
  check(sqlite3_bind_null(statement_.get(), index));
  return *this;
}

Statement& Statement::bind_blob(int index, std::span<const std::byte> bytes) {
  const void* data = bytes.data() != nullptr ? static_cast<const void*>(bytes.data()) : "";
  check(sqlite3_bind_blob64(statement_.get(), index, data, bytes.size(), SQLITE_STATIC));
  return *this;
}

Statement& Statement::bind_pointer(int index, void* pointer, const char* type) {
  check(sqlite3_bind_pointer(statement_.get(), index, pointer, type, nullptr));
  return *this;
}

bool Statement::step() {
  const int code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) {
    reset();
    check(code);
  }
  return false;
}

void Statement::reset() noexcept { sqlite3_reset(statement_.get()); }

void Statement::run() {
  while (step()) {
  }
  reset();
}

std::int64_t Statement::column_int64(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double Statement::column_double(int column) const {
  return sqlite3_column_double(statement_.get(), column);
}

std::string_view Statement::column_text(int column) const {
  // The pointer first: asking for it may convert the value and so change its size.
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (text == nullptr) {
    if (sqlite3_column_type(statement_.get(), column) != SQLITE_NULL) throw std::bad_alloc();
    return {};
  }
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::optional<std::string_view> Statement::column_optional_text(int column) const {
  if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) return std::nullopt;
  return column_text(column);
}

std::span<const std::byte> Statement::column_blob(int column) const {
  const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement_.get(), column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

Database::Database(const std::string& path, int flags, const char* vfs) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, vfs);
  database_.reset(database);  // set even when opening failed, for the message
  if (code != SQLITE_OK) throw_database_error(database, code);
}

void Database::execute(const std::string& sql) {
  const int code = sqlite3_exec(handle(), sql.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) throw_database_error(handle(), sqlite3_extended_errcode(handle()));
}

Statement Database::prepare(std::string_view sql, unsigned flags) const {
  return Statement(handle(), sql, flags);
}

Transaction::Transaction(Database& database, const std::string& begin) : database_(database) {
  database_.execute(begin);
}

Transaction::~Transaction() {
  // A failed rollback means that SQLite has rolled back already.
  if (open_) sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
  database_.execute("COMMIT");
  open_ = false;
}

}  // namespace velmora::storage
