// The documents of a corpus, and the full-text tables that define how they rank, with SQLite's own
// bm25.
#pragma once

#include <array>
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
#include "workers/retrieval/documents.h"

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
  [[nodiscard]] workers::retrieval::internal::Documents documents() const {
    return {vocabulary_, symbols_, files_};
  }

 private:
  std::shared_ptr<workers::retrieval::internal::Vocabulary> vocabulary_ =
      std::make_shared<workers::retrieval::internal::Vocabulary>();
  utils::Arena<workers::retrieval::internal::WordId> words_;
  std::vector<workers::retrieval::internal::SymbolDocument> symbols_;
  std::vector<workers::retrieval::internal::FileDocument> files_;
  std::vector<std::vector<std::uint32_t>> places_;  // by file
  std::unordered_map<std::string_view, std::size_t> numbers_;
};

// The rows of both tables as texts.
struct TableTexts {
  explicit TableTexts(const workers::retrieval::internal::Documents& documents);

  struct Symbol {
    std::int64_t id;
    std::array<std::string, 4> columns;
  };
  std::vector<Symbol> symbols;
  std::vector<std::array<std::string, 3>> files;
};

// Both tables in memory, with the default settings of the retriever, filled from texts that are
// ready.
class FilledTables {
 public:
  explicit FilledTables(const TableTexts& texts);
  FilledTables(const FilledTables&) = delete;
  FilledTables& operator=(const FilledTables&) = delete;

  // The first FIRST_ROWS rowids of the symbol table, then of the file table, for any of the terms.
  [[nodiscard]] std::vector<std::int64_t> first_rows(std::span<const std::string> terms);

  // How many rows of the symbol table hold any of the terms.
  [[nodiscard]] std::size_t matches(std::span<const std::string> terms);

 private:
  storage::Database database_;
  storage::Statement symbols_;
  storage::Statement files_;
  storage::Statement count_;
};

}  // namespace velmora::bench
