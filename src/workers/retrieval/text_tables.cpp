#include "workers/retrieval/text_tables.h"

#include <algorithm>
#include <array>
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
  insert_symbol_ = database_.prepare(
      "INSERT INTO lexical (rowid, name, signature, path, docstring) VALUES (?, ?, ?, ?, ?)");
}

void TextTables::set_ranks(const RetrievalSettings& settings) {
  const std::string symbols = settings.weights.rank_function();
  const std::string files = settings.file_weights.rank_function();
  database_.prepare("INSERT INTO lexical (lexical, rank) VALUES ('rank', ?)")
      .bind(1, symbols)
      .run();
  database_.prepare("INSERT INTO files (files, rank) VALUES ('rank', ?)").bind(1, files).run();
}

void TextTables::add(const SymbolDocument& symbol, const Vocabulary& vocabulary) {
  insert_symbol_.bind(1, symbol.id);
  const std::array texts = {
      text_of(symbol.name(), vocabulary), text_of(symbol.signature(), vocabulary),
      text_of(symbol.path(), vocabulary), text_of(symbol.docstring(), vocabulary)};
  int parameter = 1;
  for (const std::string& text : texts) insert_symbol_.bind(++parameter, text);
  try {
    insert_symbol_.run();
  } catch (const DatabaseError& error) {
    if (error.code() != SQLITE_CONSTRAINT) throw;
    throw DatabaseError(error.extended_code(),
                        "two symbols have the id " + std::to_string(symbol.id));
  }
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
      names += text_of(symbol.name(), *documents.vocabulary);
      if (symbol.docstring().empty()) continue;
      if (!docstrings.empty()) docstrings += ' ';
      docstrings += text_of(symbol.docstring(), *documents.vocabulary);
    }
    const std::string path = text_of(file.path, *documents.vocabulary);
    insert.bind(1, ++row).bind(2, names).bind(3, path).bind(4, docstrings).run();
  }
}

// A term without tokens (none has with the default tokenizer) matches nothing and changes no score,
// but SQLite before 3.48 dereferences null when one stands beside a term that matches, so it is
// left out. A table without rows has no tokenizer to ask, and no term matches there.
std::string TextTables::any_of(std::span<const std::string> terms) {
  std::string expression;
  const auto add = [&](const std::string& term) {
    if (!expression.empty()) expression += " OR ";
    expression.append("\"").append(term).append("\"");
  };
  const bool ran = tokenizer_.run([&](const TableTokenizer::Tokenize& tokenize) {
    for (const std::string& term : terms) {
      if (tokenize(term).count != 0) add(term);
    }
  });
  if (!ran) std::for_each(terms.begin(), terms.end(), add);
  return expression;
}

std::vector<RowId> TextTables::best(TextTable table, const std::string& expression,
                                    std::size_t count, const TextIndex::Accept& accept) {
  std::vector<RowId> rows;
  if (expression.empty()) return rows;
  Statement match = database_.prepare(
      table == TextTable::symbols ? "SELECT rowid FROM lexical WHERE lexical MATCH ? ORDER BY rank"
                                  : "SELECT rowid FROM files WHERE files MATCH ? ORDER BY rank");
  match.bind(1, expression);
  while (rows.size() < count && match.step()) {
    if (accept(match.column_int64(0))) rows.push_back(match.column_int64(0));
  }
  return rows;
}

std::vector<double> TextTables::weights_of(const std::string& rank_expression) const {
  const std::size_t open = rank_expression.find('(') + 1;
  Statement statement = database_.prepare(
      "SELECT " + rank_expression.substr(open, rank_expression.size() - open - 1));
  statement.step();
  const auto commas = std::count(rank_expression.begin(), rank_expression.end(), ',');
  std::vector<double> weights;
  for (int column = 0; column <= commas; ++column) {
    weights.push_back(statement.column_double(column));
  }
  return weights;
}

}  // namespace velmora::workers::retrieval::internal
