#include "workers/retrieval/text_tables.h"

#include <exception>
#include <utility>

#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {
namespace {

using storage::Database;
using storage::DatabaseError;
using storage::Statement;
using storage::Transaction;

// The auxiliary function count_tokens(table, text): how many tokens the table's tokenizer makes of
// a text.
void count_tokens(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* result,
                  int arguments, sqlite3_value** values) noexcept {
  if (arguments != 1) return sqlite3_result_error(result, "count_tokens takes one text", -1);
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
  int tokens = 0;
  const auto count = [](void* counter, int flags, const char*, int, int, int) noexcept -> int {
    // A colocated token is a synonym of the one before it, not another one.
    if ((flags & FTS5_TOKEN_COLOCATED) == 0) ++*static_cast<int*>(counter);
    return SQLITE_OK;
  };
  const int code = api->xTokenize(fts, text, sqlite3_value_bytes(values[0]), &tokens, count);
  if (code != SQLITE_OK) return sqlite3_result_error_code(result, code);
  sqlite3_result_int(result, tokens);
}

// The connection's FTS5, for registering functions.
fts5_api* fts5_of(Database& database) {
  fts5_api* api = nullptr;
  Statement statement = database.prepare("SELECT fts5(?1)");
  sqlite3_stmt* raw = statement.handle();
  if (const int code =
          sqlite3_bind_pointer(raw, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
      code != SQLITE_OK) {
    storage::throw_database_error(database.handle(), code);
  }
  statement.run();
  return api;
}

void register_functions(Database& database) {
  fts5_api* api = fts5_of(database);
  const int code = api->xCreateFunction(api, "count_tokens", nullptr, count_tokens, nullptr);
  if (code != SQLITE_OK) storage::throw_database_error(database.handle(), code);
}

// Whether the error is the statement's, as that of a missing module is, rather than a sign of a
// failing database, of bad data or of a fault in this program.
bool is_operational(const DatabaseError& error) {
  switch (error.code()) {
    case SQLITE_NOMEM:
    case SQLITE_CORRUPT:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
    case SQLITE_INTERNAL:
    case SQLITE_MISUSE:
      return false;
    default:
      return true;
  }
}

// Makes the two empty tables; false, with a warning, when this SQLite cannot.
bool create_tables(Database& database, const std::string& tokenizer) {
  const std::string options = "tokenize = '" + tokenizer + "', detail = column)";
  try {
    database
        .prepare("CREATE VIRTUAL TABLE lexical USING fts5(name, signature, path, docstring, " +
                 options)
        .run();
    database.prepare("CREATE VIRTUAL TABLE files USING fts5(names, path, docstrings, " + options)
        .run();
    return true;
  } catch (const DatabaseError& error) {
    if (!is_operational(error)) throw;
    logger.log(
        logging::Level::warning,
        [] { return "This SQLite has no FTS5: retrieval ranks without text"; },
        std::current_exception());
    return false;
  }
}

void set_rank(Database& database, std::string_view table, const std::string& expression) {
  const std::string name(table);
  database.prepare("INSERT INTO " + name + " (" + name + ", rank) VALUES ('rank', ?)")
      .bind(1, std::string_view(expression))
      .run();
}

void insert_symbols(Database& database, std::span<const SymbolText> symbols) {
  Statement insert = database.prepare(
      "INSERT INTO lexical (rowid, name, signature, path, docstring) VALUES (?, ?, ?, ?, ?)");
  for (const SymbolText& symbol : symbols) {
    insert.bind(1, symbol.id)
        .bind(2, symbol.name)
        .bind(3, symbol.signature)
        .bind(4, symbol.path)
        .bind(5, symbol.docstring)
        .run();
  }
}

void insert_files(Database& database, const FileTexts& files) {
  Statement insert =
      database.prepare("INSERT INTO files (rowid, names, path, docstrings) VALUES (?, ?, ?, ?)");
  while (const std::optional<FileText> file = files()) {
    insert.bind(1, file->row)
        .bind(2, file->names)
        .bind(3, file->path)
        .bind(4, file->docstrings)
        .run();
  }
}

}  // namespace

std::unique_ptr<TextTables> text_tables(const RetrievalSettings& settings,
                                        std::span<const SymbolText> symbols,
                                        const FileTexts& files) {
  Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  // FTS5 sorts its matches in a temporary table, which would otherwise spill to a file on disk.
  database.execute("PRAGMA temp_store = MEMORY");
  if (!create_tables(database, settings.tokenizer)) return nullptr;
  register_functions(database);

  Transaction filling(database);
  set_rank(database, SYMBOL_TABLE, settings.weights.rank_function());
  set_rank(database, FILE_TABLE, settings.file_weights.rank_function());
  insert_symbols(database, symbols);
  insert_files(database, files);
  filling.commit();
  return std::make_unique<TextTables>(std::move(database));
}

TextTable::TextTable(const Database& database, std::string_view name) {
  const std::string table(name);
  match_ =
      database.prepare("SELECT rowid FROM " + table + " WHERE " + table + " MATCH ? ORDER BY rank",
                       SQLITE_PREPARE_PERSISTENT);
  count_tokens_ =
      database.prepare("SELECT count_tokens(" + table + ", ?) FROM " + table + " LIMIT 1",
                       SQLITE_PREPARE_PERSISTENT);
}

// A term without tokens (none has with the default tokenizer) matches nothing and changes no score,
// but SQLite before 3.48 dereferences null when one stands beside a term that matches, so it is
// left out.
std::string TextTable::match_expression(std::span<const std::string> terms) {
  std::string expression;
  for (const std::string& term : terms) {
    count_tokens_.bind(1, std::string_view(term));
    const bool left_out = count_tokens_.step() && count_tokens_.column_int64(0) == 0;
    count_tokens_.reset();
    if (left_out) continue;
    if (!expression.empty()) expression += " OR ";
    expression.append("\"").append(term).append("\"");
  }
  return expression;
}

TextTables::TextTables(Database database)
    : database_(std::move(database)),
      symbols_(database_, SYMBOL_TABLE),
      files_(database_, FILE_TABLE) {}

TextTable& TextTables::table(std::string_view name) {
  return name == SYMBOL_TABLE ? symbols_ : files_;
}

Matching::Matching(TextTables& tables, std::mutex& lock, std::string_view table,
                   std::span<const std::string> terms)
    : lock_(lock), table_(tables.table(table)), expression_(table_.match_expression(terms)) {
  if (expression_.empty()) return;
  table_.match_.bind(1, std::string_view(expression_));
  try {
    advance();
  } catch (...) {
    table_.match_.reset();  // no destructor runs for a constructor that throws
    throw;
  }
}

Matching::~Matching() { table_.match_.reset(); }

}  // namespace velmora::workers::retrieval::internal
