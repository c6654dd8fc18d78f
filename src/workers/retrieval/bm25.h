// BM25 over posting lists, bit for bit the scores and the order of FTS5's own `bm25`.
//
// Source: SQLite's documentation of the bm25 function of FTS5, with its k1 = 1.2 and b = 0.75, and
// its least inverse document frequency of 1e-6. The order of the operations decides the last bits.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "workers/retrieval/posting_lists.h"

namespace velmora::workers::retrieval::internal {

inline constexpr double BM25_K1 = 1.2;
inline constexpr double BM25_B = 0.75;

// What a document of `length` words adds to the denominator of its scores.
[[nodiscard]] inline double bm25_norm(double length, double average_length) {
  return BM25_K1 * (1 - BM25_B + BM25_B * length / average_length);
}

// A row and its score: lower is better, and it is a number, since SQLite refuses weights that could
// make it none.
struct ScoredRow {
  RowId row = 0;
  double score = 0.0;
};

// The first `count` of the accepted rows that hold any of the terms, best first, equal ones by row.
// `terms` are in the order of the question; one that stands there twice counts twice.
//
// The time is that of reading the terms' posting lists; the memory, beside the answer, that of a
// few thousand documents and of the terms.
[[nodiscard]] std::vector<ScoredRow> best_rows(const PostingLists& lists,
                                               std::span<const TermId> terms, std::size_t count,
                                               const TextIndex::Accept& accept);

}  // namespace velmora::workers::retrieval::internal
