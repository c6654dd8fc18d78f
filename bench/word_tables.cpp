#include "word_tables.h"

#include "velmora/workers/retrieval.h"

namespace velmora::bench {
namespace {

using storage::Database;
using storage::Statement;
using workers::retrieval::internal::Documents;
using workers::retrieval::internal::FileDocument;
using workers::retrieval::internal::SymbolDocument;
using workers::retrieval::internal::WordId;
using workers::retrieval::internal::Words;

Statement prepare_match(const Database& database, const std::string& table) {
  return database.prepare(
      "SELECT rowid FROM " + table + " WHERE " + table + " MATCH ? ORDER BY rank",
      SQLITE_PREPARE_PERSISTENT);
}

std::string any_of(std::span<const std::string> terms) {
  std::string expression;
  for (const std::string& term : terms) {
    if (!expression.empty()) expression += " OR ";
    expression.append("\"").append(term).append("\"");
  }
  return expression;
}

}  // namespace

CorpusWords::CorpusWords(const Rows& rows) {
  for (const Row& row : rows) {
    const auto [file, is_new] = numbers_.emplace(row.path, files_.size());
    if (is_new) {
      std::vector<WordId> words;
      vocabulary_->append_words(row.path, words);
      files_.push_back({words_.store(words), {}});
      places_.emplace_back();
    }
    places_[file->second].push_back(static_cast<std::uint32_t>(symbols_.size()));
    std::vector<WordId> words;
    const std::size_t name = vocabulary_->append_words(row.name, words);
    const std::size_t signature = vocabulary_->append_words(row.signature.value_or(""), words);
    vocabulary_->append_words(row.docstring.value_or(""), words);
    symbols_.emplace_back(row.id, words_.store(words), name, signature, files_[file->second].path);
  }
  for (std::size_t file = 0; file < files_.size(); ++file) files_[file].symbols = places_[file];
}

TableTexts::TableTexts(const Documents& documents) {
  const auto append = [&](std::string& text, Words words) {
    for (const auto word : words) {
      if (!text.empty()) text += ' ';
      text += documents.vocabulary->word(word);
    }
  };
  for (const SymbolDocument& symbol : documents.symbols) {
    Symbol& row = symbols.emplace_back();
    row.id = symbol.id;
    append(row.columns[0], symbol.name());
    append(row.columns[1], symbol.signature());
    append(row.columns[2], symbol.path());
    append(row.columns[3], symbol.docstring());
  }
  for (const FileDocument& file : documents.files) {
    std::array<std::string, 3>& row = files.emplace_back();
    append(row[1], file.path);
    for (const std::uint32_t place : file.symbols) {
      append(row[0], documents.symbols[place].name());
      append(row[2], documents.symbols[place].docstring());
    }
  }
}

FilledTables::FilledTables(const TableTexts& texts)
    : database_(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) {
  const workers::retrieval::RetrievalSettings settings;
  const std::string options = "tokenize = '" + settings.tokenizer + "', detail = column)";
  database_.execute("PRAGMA temp_store = MEMORY");
  database_.execute("CREATE VIRTUAL TABLE lexical USING fts5(name, signature, path, docstring, " +
                    options);
  database_.execute("CREATE VIRTUAL TABLE files USING fts5(names, path, docstrings, " + options);
  storage::Transaction filling(database_);
  database_.execute("INSERT INTO lexical (lexical, rank) VALUES ('rank', '" +
                    settings.weights.rank_function() + "')");
  database_.execute("INSERT INTO files (files, rank) VALUES ('rank', '" +
                    settings.file_weights.rank_function() + "')");
  const auto insert = [](Statement& statement, std::int64_t row, const auto& columns) {
    statement.bind(1, row);
    int parameter = 1;
    for (const std::string& column : columns) statement.bind(++parameter, column);
    statement.run();
  };
  Statement symbol = database_.prepare(
      "INSERT INTO lexical (rowid, name, signature, path, docstring) VALUES (?, ?, ?, ?, ?)");
  for (const TableTexts::Symbol& row : texts.symbols) insert(symbol, row.id, row.columns);
  Statement file =
      database_.prepare("INSERT INTO files (rowid, names, path, docstrings) VALUES (?, ?, ?, ?)");
  std::int64_t number = 0;
  for (const auto& columns : texts.files) insert(file, ++number, columns);
  filling.commit();
  symbols_ = prepare_match(database_, "lexical");
  files_ = prepare_match(database_, "files");
  count_ = database_.prepare("SELECT count(*) FROM lexical WHERE lexical MATCH ?");
}

std::vector<std::int64_t> FilledTables::first_rows(std::span<const std::string> terms) {
  const std::string expression = any_of(terms);
  std::vector<std::int64_t> rows;
  for (Statement* table : {&symbols_, &files_}) {
    table->bind(1, expression);
    for (std::size_t row = 0; row < FIRST_ROWS && table->step(); ++row) {
      rows.push_back(table->column_int64(0));
    }
    table->reset();
  }
  return rows;
}

std::size_t FilledTables::matches(std::span<const std::string> terms) {
  const std::string expression = any_of(terms);
  count_.bind(1, expression);
  count_.step();
  const auto rows = static_cast<std::size_t>(count_.column_int64(0));
  count_.reset();
  return rows;
}

}  // namespace velmora::bench
