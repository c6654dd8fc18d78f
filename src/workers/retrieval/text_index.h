// The text index of a corpus: ranks its symbols and its files by BM25.
//
// What it answers is defined by two FTS5 tables and SQLite's own `bm25`. It is made in one of two
// ways, which nobody can tell apart but by their cost: posting lists, which take a small part of
// the memory and of the time, where every word is exactly one token of the tokenizer; and the
// tables themselves for every other tokenizer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "velmora/workers/retrieval.h"
#include "workers/retrieval/documents.h"

namespace velmora::workers::retrieval::internal {

enum class TextTable { symbols, files };

// A row of a table: a symbol's id, or a file's place in the corpus plus 1.
using RowId = std::int64_t;

// Immutable; any thread may ask.
class TextIndex {
 public:
  virtual ~TextIndex() = default;

  using Accept = std::function<bool(RowId)>;

  // The first `count` (at least 1) of the accepted rows of a table that match any of the terms of a
  // search, best first, equal ones by row. `accept` is asked about as few rows as may be, in any
  // order. Throws the database's error.
  using Search =
      std::function<std::vector<RowId>(TextTable table, std::size_t count, const Accept& accept)>;

  // A search for the terms, each of ASCII letters or of digits; the index must outlive it. Throws
  // the database's error, among them that of a term which the tokenizer cuts into several tokens: a
  // phrase, which the tables cannot answer.
  [[nodiscard]] virtual Search search(std::span<const std::string> terms) const = 0;
};

// The index of the documents, by the tables if `tables_only`; null, with a warning in the log, when
// SQLite has no FTS5 or does not know the tokenizer. Throws what the database throws while the
// tables are filled, for instance for a repeated id or a rank expression that SQLite refuses.
[[nodiscard]] std::unique_ptr<const TextIndex> text_index(const RetrievalSettings& settings,
                                                          const Documents& documents,
                                                          bool tables_only = false);

}  // namespace velmora::workers::retrieval::internal
