// The stored vectors of one model in memory, and the exact search over them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "index/best_rows.h"
#include "index/dot_product.h"
#include "index/row_block.h"
#include "index/stored_vector.h"
#include "velmora/host/index/vector_kind.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Immutable once read, so threads share it.
class VectorMatrix {
 public:
  // Reads every vector of `model`; none is no error. `dots` outlives the matrix.
  VectorMatrix(storage::Database& database, std::string_view model,
               const DotProducts& dots = dot_products());

  // The `top_k` vectors nearest to `query` by cosine, nearest first, equal ones by lower id. Throws
  // std::invalid_argument for a query without direction, or when a vector has another length.
  [[nodiscard]] std::vector<storage::NearestPair> nearest(std::span<const float> query,
                                                          std::int64_t top_k) const;

  // The same, read while it searches: less work than to keep them for a single question.
  [[nodiscard]] static std::vector<storage::NearestPair> nearest_as_read(
      storage::Database& database, std::string_view model, std::span<const float> query,
      std::int64_t top_k, const DotProducts& dots = dot_products());

 private:
  VectorMatrix(std::string_view model, const DotProducts& dots);

  // Learns what is stored, and selects it.
  storage::Statement select_rows(storage::Database& database);
  // Reads the next row to where there is room; false when there is none, or when it is odd.
  bool read_row(storage::Statement& select);
  [[nodiscard]] std::size_t row_bytes() const { return length_ * number_size(kind_); }

  [[nodiscard]] BestRows best_of(std::int64_t top_k) const;
  // Offers the rows that are in memory.
  void scan(std::span<const float> query, BestRows& best) const;
  [[nodiscard]] std::vector<storage::NearestPair> pairs(BestRows best) const;
  // Calls `visit` with the number of each of these rows and its numbers.
  template <class Number, class Visit>
  void each_row(Visit visit) const;

  std::string model_;
  const DotProducts& dots_;
  VectorKind kind_ = VectorKind::float32;
  std::size_t stored_ = 0;                 // how many vectors there are
  std::size_t length_ = 0;                 // of the first vector
  std::optional<std::size_t> odd_length_;  // of a vector that is not as long as the first
  std::vector<storage::SymbolId> ids_;     // ascending
  std::vector<double> norms_;              // the length of each row
  RowBlock rows_;                          // of `length_` numbers of the kind for each id
  std::size_t first_ = 0;                  // of the ids whose rows are in memory
};

}  // namespace velmora::host::index
