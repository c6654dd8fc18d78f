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

// The connection's FTS5, for making functions.
fts5_api& fts5_of(const Database& database) {
  fts5_api* api = nullptr;
  database.prepare("SELECT fts5(?1)").bind_pointer(1, &api, "fts5_api_ptr").run();
  if (api == nullptr) storage::throw_database_error(nullptr, SQLITE_ERROR);
  return *api;
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
bool create_tables(const Database& database, const std::string& tokenizer) {
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

void set_rank(const Database& database, std::string_view table, const std::string& expression) {
  const std::string name(table);
  database.prepare("INSERT INTO " + name + " (" + name + ", rank) VALUES ('rank', ?)")
      .bind(1, expression)
      .run();
}

void insert_symbols(const Database& database, std::span<const SymbolText> symbols) {
  Statement insert = database.prepare(
      "INSERT INTO lexical (rowid, name, signature, path, docstring) VALUES (?, ?, ?, ?, ?)");
  for (const SymbolText& symbol : symbols) {
    insert.bind(1, symbol.id)
        .bind(2, symbol.name.text)
        .bind(3, symbol.signature.text)
        .bind(4, symbol.path.text)
        .bind(5, symbol.docstring.text)
        .run();
  }
}

void insert_files(const Database& database, const CorpusText& text) {
  Statement insert =
      database.prepare("INSERT INTO files (rowid, names, path, docstrings) VALUES (?, ?, ?, ?)");
  std::string names;
  std::string docstrings;
  for (const FileText& file : text.files) {
    names.clear();
    docstrings.clear();
    for (const std::uint32_t place : file.symbols) {
      const SymbolText& symbol = text.symbols[place];
      if (place != file.symbols.front()) names += ' ';
      names += symbol.name.text;
      if (symbol.docstring.text.empty()) continue;
      if (!docstrings.empty()) docstrings += ' ';
      docstrings += symbol.docstring.text;
    }
    insert.bind(1, file.row).bind(2, names).bind(3, file.path.text).bind(4, docstrings).run();
  }
}

void fill(Database& database, const RetrievalSettings& settings, const CorpusText& text) {
  Transaction filling(database);
  set_rank(database, SYMBOL_TABLE, settings.weights.rank_function());
  set_rank(database, FILE_TABLE, settings.file_weights.rank_function());
  insert_symbols(database, text.symbols);
  insert_files(database, text);
  filling.commit();
}

// The weights of a rank expression as SQLite reads them, which may differ in the last bit from what
// was written.
std::vector<double> weights_of(const Database& database, const std::string& expression,
                               int columns) {
  const std::size_t open = expression.find('(') + 1;
  Statement statement =
      database.prepare("SELECT " + expression.substr(open, expression.size() - open - 1));
  statement.step();
  std::vector<double> weights(static_cast<std::size_t>(columns));
  for (int column = 0; column < columns; ++column) {
    weights[static_cast<std::size_t>(column)] = statement.column_double(column);
  }
  return weights;
}

}  // namespace

std::unique_ptr<TextTables> text_tables(const RetrievalSettings& settings, const CorpusText& text) {
  Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!create_tables(database, settings.tokenizer)) return nullptr;
  fill(database, settings, text);
  return std::make_unique<TextTables>(std::move(database), settings, text);
}

TextTables::Table::Table(const Database& database, std::string_view name, std::size_t row_count)
    : rows(row_count),
      match(database.prepare("SELECT rowid FROM " + std::string(name) + " WHERE " +
                                 std::string(name) + " MATCH ? ORDER BY rank",
                             SQLITE_PREPARE_PERSISTENT)),
      tokenizer(database, std::string(name)) {}

TextTables::TextTables(Database database, const RetrievalSettings& settings, const CorpusText& text)
    : database_(std::move(database)), sort_memory_(database_) {
  fts5_api& api = fts5_of(database_);
  TableTokenizer::install(database_, api);
  symbols_.emplace(database_, SYMBOL_TABLE, text.symbols.size());
  files_.emplace(database_, FILE_TABLE, text.files.size());
  counts_ = TextCounts::count(symbols_->tokenizer,
                              {weights_of(database_, settings.weights.rank_function(), 4),
                               weights_of(database_, settings.file_weights.rank_function(), 3)},
                              text);
  if (counts_) install_bm25(database_, api, active_);
}

TextTables::Table& TextTables::table(std::string_view name) {
  return name == SYMBOL_TABLE ? *symbols_ : *files_;
}

Statement& TextTables::match(std::string_view name) { return table(name).match; }

// A term that no row holds is left out, where the counts tell: it matches nothing and changes no
// score, and a question of ten thousand such words would look up each. So is a term without tokens
// (none has with the default tokenizer): SQLite before 3.48 dereferences null when one stands
// beside a term that matches. A table without rows has no tokenizer to ask, and no term matches
// there.
std::string TextTables::activate(std::string_view name, std::span<const std::string> terms) {
  std::string expression;
  std::vector<std::optional<TokenId>> phrases;
  const auto add = [&](const std::string& term) {
    if (!expression.empty()) expression += " OR ";
    expression.append("\"").append(term).append("\"");
  };
  const bool ran = table(name).tokenizer.run([&](const TableTokenizer::Tokenize& tokenize) {
    for (const std::string& term : terms) {
      const Tokens tokens = tokenize(term);
      if (tokens.count == 0) continue;
      if (counts_) {
        const std::optional<TokenId> token = counts_->find(tokens.first);
        if (!token) continue;
        phrases.push_back(token);
      }
      add(term);
    }
  });
  if (!ran) {
    for (const std::string& term : terms) add(term);
  }
  sort_memory_.choose(table(name).rows, terms.size());
  if (counts_) {
    active_ = Bm25Query(name == SYMBOL_TABLE ? counts_->symbols() : counts_->files(), phrases);
  }
  return expression;
}

Matching::Matching(TextTables& tables, std::mutex& lock, std::string_view table,
                   std::span<const std::string> terms)
    : lock_(lock), match_(tables.match(table)), expression_(tables.activate(table, terms)) {
  if (expression_.empty()) return;
  match_.bind(1, expression_);
  try {
    advance();
  } catch (...) {
    match_.reset();  // no destructor runs for a constructor that throws
    throw;
  }
}

Matching::~Matching() { match_.reset(); }

}  // namespace velmora::workers::retrieval::internal
