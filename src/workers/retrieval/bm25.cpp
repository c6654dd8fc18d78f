#include "workers/retrieval/bm25.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace velmora::workers::retrieval::internal {
namespace {

void bm25(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* result, int,
          sqlite3_value**) noexcept {
  auto& active = *static_cast<Bm25Query*>(api->xUserData(fts));
  const std::optional<double> score = active.score(api->xRowid(fts));
  if (!score) return sqlite3_result_error(result, "bm25 was asked about an unknown row", -1);
  // No number, as infinite weights make it, is null to SQLite.
  if (std::isnan(*score)) return sqlite3_result_null(result);
  sqlite3_result_int64(result, order_key(*score));
}

double inverse_document_frequency(std::size_t rows, std::size_t holding) {
  const auto all = static_cast<std::int64_t>(rows);
  const auto hits = static_cast<std::int64_t>(holding);
  const double idf =
      std::log((static_cast<double>(all - hits) + 0.5) / (static_cast<double>(hits) + 0.5));
  return idf <= 0.0 ? 1e-6 : idf;
}

}  // namespace

std::int64_t order_key(double score) {
  const auto bits = std::bit_cast<std::int64_t>(score);
  return bits < 0 ? -(bits & std::numeric_limits<std::int64_t>::max()) : bits;
}

Bm25Query::Bm25Query(const TermCounts& counts, std::span<const std::optional<TokenId>> phrases)
    : counts_(&counts) {
  for (const std::optional<TokenId>& token : phrases) {
    // A phrase that no row holds adds nothing to any score.
    if (!token) continue;
    const Postings postings = counts.postings(*token);
    const double idf = inverse_document_frequency(counts.rowids().size(), postings.rows.size());
    phrases_.push_back({END, nullptr, nullptr, nullptr, idf, postings});
    move_to(phrases_.back(), 0);
    row_ = std::min(row_, phrases_.back().row);
  }
}

void Bm25Query::move_to(Phrase& phrase, std::size_t posting) {
  phrase.at = phrase.postings.rows.data() + posting;
  phrase.end = phrase.postings.rows.data() + phrase.postings.rows.size();
  phrase.place = phrase.postings.frequencies.data() + posting;
  phrase.row = phrase.at == phrase.end ? END : *phrase.at;
}

bool Bm25Query::seek(std::int64_t rowid) {
  const std::span<const std::int64_t> rowids = counts_->rowids();
  const auto found = std::lower_bound(rowids.begin(), rowids.end(), rowid);
  if (found == rowids.end() || *found != rowid) return false;
  row_ = static_cast<std::uint32_t>(found - rowids.begin());
  for (Phrase& phrase : phrases_) {
    const auto& rows = phrase.postings.rows;
    move_to(phrase, static_cast<std::size_t>(std::lower_bound(rows.begin(), rows.end(), row_) -
                                             rows.begin()));
  }
  return true;
}

std::optional<double> Bm25Query::score(std::int64_t rowid) {
  if ((row_ == END || counts_->rowids()[row_] != rowid) && !seek(rowid)) return std::nullopt;
  const double norm = counts_->norms()[row_];
  const double* const frequencies = counts_->frequencies().data();
  const std::uint32_t row = row_;
  std::uint32_t next = END;
  double score = 0.0;
  for (Phrase& phrase : phrases_) {
    if (phrase.row == row) {
      const double frequency = frequencies[*phrase.place];
      score += phrase.idf * ((frequency * (BM25_K1 + 1.0)) / (frequency + norm));
      ++phrase.place;
      phrase.row = ++phrase.at == phrase.end ? END : *phrase.at;
    }
    next = std::min(next, phrase.row);
  }
  row_ = next;
  // Rows that match lie far apart; fetched now, the next one is there when it is asked for.
  if (next != END) {
    __builtin_prefetch(counts_->rowids().data() + next);
    __builtin_prefetch(counts_->norms().data() + next);
  }
  return -1.0 * score;
}

void install_bm25(const storage::Database& database, fts5_api& api, Bm25Query& active) {
  const int code = api.xCreateFunction(&api, "bm25", &active, bm25, nullptr);
  if (code != SQLITE_OK) storage::throw_database_error(database.handle(), code);
}

}  // namespace velmora::workers::retrieval::internal
