#include "workers/retrieval/text_tables.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {
namespace {

using storage::Database;
using storage::DatabaseError;
using storage::Statement;

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

Statement prepare_match(const Database& database, const std::string& table) {
  return database.prepare(
      "SELECT rowid FROM " + table + " WHERE " + table + " MATCH ? ORDER BY rank",
      SQLITE_PREPARE_PERSISTENT);
}

void set_rank(const Database& database, const std::string& table, const std::string& expression) {
  database.prepare("INSERT INTO " + table + " (" + table + ", rank) VALUES ('rank', ?)")
      .bind(1, expression)
      .run();
}

std::string text_of(Words words, const Vocabulary& vocabulary) {
  std::string text;
  for (const WordId word : words) {
    if (!text.empty()) text += ' ';
    text += vocabulary.word(word);
  }
  return text;
}

}  // namespace

std::unique_ptr<TextTables> TextTables::make(const std::string& tokenizer) {
  Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  const std::string options = "tokenize = '" + tokenizer + "', detail = column)";
  try {
    database
        .prepare("CREATE VIRTUAL TABLE lexical USING fts5(name, signature, path, docstring, " +
                 options)
        .run();
    database.prepare("CREATE VIRTUAL TABLE files USING fts5(names, path, docstrings, " + options)
        .run();
  } catch (const DatabaseError& error) {
    if (!is_operational(error)) throw;
    logger.log(
        logging::Level::warning,
        [] { return "This SQLite has no FTS5: retrieval ranks without text"; },
        std::current_exception());
    return nullptr;
  }
  return std::unique_ptr<TextTables>(new TextTables(std::move(database)));
}

// Temporary tables in memory, where a query sorts its rows: no sort, however large, reaches a file.
TextTables::TextTables(Database database)
    : database_(std::move(database)), tokenizer_(database_, "lexical") {
  database_.execute("PRAGMA temp_store = MEMORY");
  match_symbols_ = prepare_match(database_, "lexical");
  match_files_ = prepare_match(database_, "files");
  insert_symbol_ = database_.prepare(
      "INSERT INTO lexical (rowid, name, signature, path, docstring) VALUES (?, ?, ?, ?, ?)");
}

void TextTables::set_ranks(const RetrievalSettings& settings) {
  set_rank(database_, "lexical", settings.weights.rank_function());
  set_rank(database_, "files", settings.file_weights.rank_function());
}

void TextTables::add(const SymbolDocument& symbol, const Vocabulary& vocabulary) {
  const std::string name = text_of(symbol.name, vocabulary);
  const std::string signature = text_of(symbol.signature, vocabulary);
  const std::string path = text_of(symbol.path, vocabulary);
  const std::string docstring = text_of(symbol.docstring, vocabulary);
  insert_symbol_.bind(1, symbol.id)
      .bind(2, name)
      .bind(3, signature)
      .bind(4, path)
      .bind(5, docstring)
      .run();
}

void TextTables::add_files(const Documents& documents) {
  Statement insert =
      database_.prepare("INSERT INTO files (rowid, names, path, docstrings) VALUES (?, ?, ?, ?)");
  RowId row = 0;
  for (const FileDocument& file : documents.files) {
    std::string names;
    std::string docstrings;
    for (const std::uint32_t place : file.symbols) {
      const SymbolDocument& symbol = documents.symbols[place];
      if (place != file.symbols.front()) names += ' ';
      names += text_of(symbol.name, documents.vocabulary);
      if (symbol.docstring.empty()) continue;
      if (!docstrings.empty()) docstrings += ' ';
      docstrings += text_of(symbol.docstring, documents.vocabulary);
    }
    const std::string path = text_of(file.path, documents.vocabulary);
    insert.bind(1, ++row).bind(2, names).bind(3, path).bind(4, docstrings).run();
  }
}

// A term without tokens (none has with the default tokenizer) matches nothing and changes no score,
// but SQLite before 3.48 dereferences null when one stands beside a term that matches, so it is
// left out. A table without rows has no tokenizer to ask, and no term matches there.
Statement* TextTables::match(TextTable table, std::span<const std::string> terms) {
  expression_.clear();
  const auto add = [&](const std::string& term) {
    if (!expression_.empty()) expression_ += " OR ";
    expression_.append("\"").append(term).append("\"");
  };
  const bool ran = tokenizer_.run([&](const TableTokenizer::Tokenize& tokenize) {
    for (const std::string& term : terms) {
      if (tokenize(term).count != 0) add(term);
    }
  });
  if (!ran) std::for_each(terms.begin(), terms.end(), add);
  if (expression_.empty()) return nullptr;
  Statement& match = table == TextTable::symbols ? match_symbols_ : match_files_;
  match.bind(1, expression_);
  return &match;
}

std::vector<double> weights_of(const Database& database, const std::string& rank_expression) {
  const std::size_t open = rank_expression.find('(') + 1;
  Statement statement =
      database.prepare("SELECT " + rank_expression.substr(open, rank_expression.size() - open - 1));
  statement.step();
  std::vector<double> weights(
      static_cast<std::size_t>(std::count(rank_expression.begin(), rank_expression.end(), ',')) +
      1);
  for (std::size_t column = 0; column < weights.size(); ++column) {
    weights[column] = statement.column_double(static_cast<int>(column));
  }
  return weights;
}

}  // namespace velmora::workers::retrieval::internal
