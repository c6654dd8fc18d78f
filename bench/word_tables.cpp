#include "word_tables.h"

#include "velmora/workers/retrieval.h"
#include "workers/retrieval/sort_memory.h"
#include "workers/retrieval/words.h"

namespace velmora::bench {
namespace {

using storage::Database;
using storage::Statement;
using workers::retrieval::internal::Corpus;
using workers::retrieval::internal::CorpusText;
using workers::retrieval::internal::FILE_TABLE;
using workers::retrieval::internal::FileText;
using workers::retrieval::internal::IndexText;
using workers::retrieval::internal::SortMemory;
using workers::retrieval::internal::SYMBOL_TABLE;
using workers::retrieval::internal::SymbolText;
using workers::retrieval::internal::Vocabulary;
using workers::retrieval::internal::WordId;

Database memory_database() {
  Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  database.execute("PRAGMA temp_store = MEMORY");
  return database;
}

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
      files_.push_back({static_cast<std::int64_t>(files_.size()) + 1, words_of(row.path), {}});
      places_.emplace_back();
    }
    places_[file->second].push_back(static_cast<std::uint32_t>(symbols_.size()));
    symbols_.push_back({row.id, words_of(row.name), words_of(row.signature.value_or("")),
                        files_[file->second].path, words_of(row.docstring.value_or(""))});
  }
  for (std::size_t file = 0; file < files_.size(); ++file) files_[file].symbols = places_[file];
}

IndexText CorpusWords::words_of(std::string_view text) {
  text_.clear();
  ids_.clear();
  workers::retrieval::internal::append_index_text(text_, text, [&](std::string_view word) {
    const WordId id = vocabulary_.add(word);
    if (id < Vocabulary::FIRST_WORD) return false;
    ids_.push_back(id);
    return true;
  });
  return {texts_.store(text_), words_.store(ids_)};
}

std::vector<FileRow> joined_files(const CorpusText& text) {
  const auto join = [](std::string& out, std::string_view words) {
    if (!out.empty() && !words.empty()) out += ' ';
    out += words;
  };
  std::vector<FileRow> files;
  for (const FileText& file : text.files) {
    FileRow row{file.row, {}, file.path.text, {}};
    for (const std::uint32_t place : file.symbols) {
      join(row.names, text.symbols[place].name.text);
      join(row.docstrings, text.symbols[place].docstring.text);
    }
    files.push_back(std::move(row));
  }
  return files;
}

Database filled_tables(std::span<const SymbolText> symbols, std::span<const FileRow> files) {
  const workers::retrieval::RetrievalSettings settings;
  Database database = memory_database();
  const std::string options = "tokenize = '" + settings.tokenizer + "', detail = column)";
  database.execute("CREATE VIRTUAL TABLE lexical USING fts5(name, signature, path, docstring, " +
                   options);
  database.execute("CREATE VIRTUAL TABLE files USING fts5(names, path, docstrings, " + options);
  storage::Transaction filling(database);
  database.execute("INSERT INTO lexical (lexical, rank) VALUES ('rank', '" +
                   settings.weights.rank_function() + "')");
  database.execute("INSERT INTO files (files, rank) VALUES ('rank', '" +
                   settings.file_weights.rank_function() + "')");
  Statement insert_symbol = database.prepare(
      "INSERT INTO lexical (rowid, name, signature, path, docstring) VALUES (?, ?, ?, ?, ?)");
  for (const SymbolText& symbol : symbols) {
    insert_symbol.bind(1, symbol.id)
        .bind(2, symbol.name.text)
        .bind(3, symbol.signature.text)
        .bind(4, symbol.path.text)
        .bind(5, symbol.docstring.text)
        .run();
  }
  Statement insert_file =
      database.prepare("INSERT INTO files (rowid, names, path, docstrings) VALUES (?, ?, ?, ?)");
  for (const FileRow& file : files) {
    insert_file.bind(1, file.row)
        .bind(2, file.names)
        .bind(3, file.path)
        .bind(4, file.docstrings)
        .run();
  }
  filling.commit();
  return database;
}

CopiedTables::CopiedTables(const Database& source) : database_(memory_database()) {
  sqlite3_backup* backup = sqlite3_backup_init(database_.handle(), "main", source.handle(), "main");
  if (backup != nullptr) sqlite3_backup_step(backup, -1);
  const int code = sqlite3_backup_finish(backup);
  if (backup == nullptr || code != SQLITE_OK)
    storage::throw_database_error(database_.handle(), code);
  symbols_ = prepare_match(database_, "lexical");
  files_ = prepare_match(database_, "files");
  count_ = database_.prepare("SELECT count(*) FROM lexical WHERE lexical MATCH ?");
}

std::vector<std::int64_t> CopiedTables::first_rows(std::span<const std::string> terms) {
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

std::size_t CopiedTables::matches(std::span<const std::string> terms) {
  const std::string expression = any_of(terms);
  count_.bind(1, expression);
  count_.step();
  const auto rows = static_cast<std::size_t>(count_.column_int64(0));
  count_.reset();
  return rows;
}

void CopiedTables::rank_for_nothing() {
  SortMemory(database_).choose(0, 0);
  const auto look_up = [](const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* result,
                          int weights, sqlite3_value**) {
    const auto& ranks = *static_cast<const Ranks*>(api->xUserData(fts));
    const auto& of_table = weights == 4 ? ranks.symbols : ranks.files;
    sqlite3_result_int64(result, of_table[static_cast<std::size_t>(api->xRowid(fts))]);
  };
  fts5_api* api = nullptr;
  database_.prepare("SELECT fts5(?1)").bind_pointer(1, &api, "fts5_api_ptr").run();
  const int code = api->xCreateFunction(api, "bm25", &ranks_, look_up, nullptr);
  if (code != SQLITE_OK) storage::throw_database_error(database_.handle(), code);
  // The function is looked up when a statement opens its cursor, so the statements may stay.
}

void CopiedTables::replay(const Corpus& corpus, std::span<const std::string> terms) {
  for (const std::string_view table : {SYMBOL_TABLE, FILE_TABLE}) {
    const std::string name(table);
    std::vector<std::int64_t>& ranks = table == SYMBOL_TABLE ? ranks_.symbols : ranks_.files;
    const std::lock_guard lock(corpus.fts_lock);
    Statement ranked = corpus.fts->database().prepare("SELECT rowid, rank FROM " + name +
                                                      " WHERE " + name + " MATCH ? ORDER BY rank");
    const std::string expression = corpus.fts->activate(table, terms);
    ranked.bind(1, expression);
    while (ranked.step()) {
      const auto row = static_cast<std::size_t>(ranked.column_int64(0));
      if (row >= ranks.size()) ranks.resize(row + 1);
      ranks[row] = ranked.column_int64(1);
    }
  }
}

}  // namespace velmora::bench
