// BM25 over counts kept beside a table, bit for bit the scores of FTS5's own `bm25`.
//
// Source: SQLite's documentation of the bm25 function of FTS5, with its k1 = 1.2 and b = 0.75, and
// its least inverse document frequency of 1e-6. The order of the operations decides the last bits.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "velmora/storage/sqlite.h"
#include "workers/retrieval/term_counts.h"

namespace velmora::workers::retrieval::internal {

inline constexpr double BM25_K1 = 1.2;
inline constexpr double BM25_B = 0.75;

// What a row of `length` tokens adds to the denominator of its scores.
[[nodiscard]] inline double bm25_norm(double length, double average_length) {
  return BM25_K1 * (1 - BM25_B + BM25_B * length / average_length);
}

// The ranking of one query: scores the rows that hold any of its phrases. A database asks for them
// in ascending order, so each phrase's postings are walked once; any other order is found by
// search.
class Bm25Query {
 public:
  Bm25Query() = default;
  // The phrases in the order of the query, each a token or, for one that no row holds, nothing.
  // `counts` must outlive the query.
  Bm25Query(const TermCounts& counts, std::span<const std::optional<TokenId>> phrases);

  // The score of a row, lower is better; nothing when the table has no such row.
  [[nodiscard]] std::optional<double> score(std::int64_t rowid);

 private:
  struct Phrase {
    std::uint32_t row;  // where its walk stands; END after the last
    const std::uint32_t* at;
    const std::uint32_t* end;
    const std::uint16_t* place;  // beside `at`
    double idf;
    Postings postings;
  };
  static constexpr std::uint32_t END = std::numeric_limits<std::uint32_t>::max();

  static void move_to(Phrase& phrase, std::size_t posting);
  bool seek(std::int64_t rowid);

  const TermCounts* counts_ = nullptr;
  std::vector<Phrase> phrases_;
  std::uint32_t row_ = END;  // the least row of all walks
};

// An integer that orders as the score does: keys are equal where scores are, and lower where they
// are lower. `score` is any number.
[[nodiscard]] std::int64_t order_key(double score);

// The connection's `bm25`: ranks by the query that is active, whatever weights it is called with,
// for they are in the counts already. Its value is the score's order key, since SQLite sorts
// integers several times faster than other values. `active` must outlive the connection's
// statements.
void install_bm25(const storage::Database& database, fts5_api& api, Bm25Query& active);

}  // namespace velmora::workers::retrieval::internal
