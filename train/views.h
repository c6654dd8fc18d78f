// Spans of numbers as Eigen's rows and matrices, and how work on rows is cut. Only for the files
// that are compiled for the trainer's processor.
#pragma once

#include <Eigen/Core>
#include <algorithm>
#include <cstddef>
#include <span>

namespace velmora::train {

using Matrix = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using Row = Eigen::Matrix<float, 1, Eigen::Dynamic>;

inline Eigen::Index index(std::size_t value) { return static_cast<Eigen::Index>(value); }

inline auto matrix(std::span<const float> values, std::size_t columns) {
  return Eigen::Map<const Matrix>(values.data(), index(values.size() / columns), index(columns));
}

inline auto matrix(std::span<float> values, std::size_t columns) {
  return Eigen::Map<Matrix>(values.data(), index(values.size() / columns), index(columns));
}

inline auto vector(std::span<const float> values) {
  return Eigen::Map<const Row>(values.data(), index(values.size()));
}

inline auto vector(std::span<float> values) {
  return Eigen::Map<Row>(values.data(), index(values.size()));
}

// How many rows of a matrix are one piece of work.
inline constexpr std::size_t PIECE = 128;

inline std::size_t pieces(std::size_t rows) { return (rows + PIECE - 1) / PIECE; }

struct Range {
  std::size_t begin = 0;
  std::size_t size = 0;
};

inline Range piece(std::size_t number, std::size_t rows) {
  const std::size_t begin = number * PIECE;
  return {begin, std::min(PIECE, rows - begin)};
}

}  // namespace velmora::train
