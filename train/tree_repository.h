// A tree as an index, for the library to rank.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tree.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::train {

// The vectors of a tree's symbols by a model, rounded as the index keeps them.
class TreeVectors {
 public:
  // Without the docstrings that are `hidden`.
  TreeVectors(const Tree& tree, const std::vector<bool>& hidden,
              const host::embedding::WordModel& model);

  // As storage::Repository::nearest_symbol_ids.
  [[nodiscard]] std::vector<storage::NearestPair> nearest(std::span<const float> values,
                                                          std::int64_t top_k) const;

 private:
  std::size_t width_;
  std::vector<std::int8_t> rows_;
  std::vector<double> norms_;  // 0: no vector
};

// Any number of threads may read.
class TreeRepository final : public storage::Repository {
 public:
  // With `bodies`, text search reads the words of a symbol's source behind its docstring; what a
  // rerank shows of it stays the docstring. In an exam of docstrings it shows none: which are
  // hidden would tell the answer. `tree` and `exam` live as long as this.
  TreeRepository(const Tree& tree, const TreeExam& exam, std::shared_ptr<const TreeVectors> vectors,
                 bool bodies);

  storage::IndexFingerprint retrieval_fingerprint() override;
  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override;
  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float> values,
                                                       std::string_view model,
                                                       storage::NearestOptions options) override;
  std::unordered_map<storage::SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const storage::SymbolId> ids) override;

 private:
  const Tree& tree_;
  const TreeExam& exam_;
  const std::shared_ptr<const TreeVectors> vectors_;
  const bool bodies_;
};

}  // namespace velmora::train
