// The alternatives to the library's full-text tables: the same tables with SQLite's own bm25, and
// with a bm25 that costs nothing; and the words to fill such tables with.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "rows.h"
#include "utils/arena.h"
#include "velmora/storage/sqlite.h"
#include "workers/retrieval/corpus.h"
#include "workers/retrieval/index_texts.h"

namespace velmora::bench {

// How many rows of each table a text query reads.
inline constexpr std::size_t FIRST_ROWS = 50;

// The words of all rows, cut and numbered as a corpus build cuts and numbers them.
class CorpusWords {
 public:
  explicit CorpusWords(const Rows& rows);
  CorpusWords(const CorpusWords&) = delete;
  CorpusWords& operator=(const CorpusWords&) = delete;

  // Valid for as long as this lives.
  [[nodiscard]] workers::retrieval::internal::CorpusText text() const {
    return {vocabulary_, symbols_, files_};
  }

 private:
  workers::retrieval::internal::IndexText words_of(std::string_view text);

  workers::retrieval::internal::Vocabulary vocabulary_;
  utils::TextArena texts_;
  utils::Arena<workers::retrieval::internal::WordId> words_;
  std::string text_;  // reused
  std::vector<workers::retrieval::internal::WordId> ids_;
  std::vector<workers::retrieval::internal::SymbolText> symbols_;
  std::vector<workers::retrieval::internal::FileText> files_;
  std::vector<std::vector<std::uint32_t>> places_;  // by file
  std::unordered_map<std::string_view, std::size_t> numbers_;
};

// A row of the file table with its texts joined.
struct FileRow {
  std::int64_t row = 0;
  std::string names;
  std::string_view path;
  std::string docstrings;
};

[[nodiscard]] std::vector<FileRow> joined_files(
    const workers::retrieval::internal::CorpusText& text);

// Makes both tables in memory, with the default settings of the retriever, and fills them from
// words that are ready.
[[nodiscard]] storage::Database filled_tables(
    std::span<const workers::retrieval::internal::SymbolText> symbols,
    std::span<const FileRow> files);

// A copy of both tables, page by page, on a connection of its own, asked by the library's SQL.
class CopiedTables {
 public:
  explicit CopiedTables(const storage::Database& source);
  CopiedTables(const CopiedTables&) = delete;
  CopiedTables& operator=(const CopiedTables&) = delete;

  // The first FIRST_ROWS rowids of the symbol table, then of the file table, for any of the terms.
  [[nodiscard]] std::vector<std::int64_t> first_rows(std::span<const std::string> terms);

  // How many rows of the symbol table hold any of the terms.
  [[nodiscard]] std::size_t matches(std::span<const std::string> terms);

  // From now on sorts as the library does and ranks by what was last replayed, which costs nothing:
  // what is left is the cost of any ranking by this SQL.
  void rank_for_nothing();

  // Reads the ranks that the library gives for the terms, for the next questions of these terms.
  void replay(const workers::retrieval::internal::Corpus& corpus,
              std::span<const std::string> terms);

 private:
  struct Ranks {
    std::vector<std::int64_t> symbols;  // by rowid
    std::vector<std::int64_t> files;
  };

  storage::Database database_;
  Ranks ranks_;
  storage::Statement symbols_;
  storage::Statement files_;
  storage::Statement count_;
};

}  // namespace velmora::bench
