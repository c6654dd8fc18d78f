// The symbols of pairs as an index, for the library to rank.
#pragma once

#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "pairs.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::train {

// The n-th symbol has the id n + 1; none has a vector. Any number of threads may read.
class SymbolRepository : public storage::Repository {
 public:
  // The symbols, of one repository, live as long as this.
  explicit SymbolRepository(std::span<const Pair> symbols) : symbols_(symbols) {}

  storage::IndexFingerprint retrieval_fingerprint() override;
  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view>, std::span<const std::string_view>) override;
  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float>, std::string_view,
                                                       storage::NearestOptions) override;
  std::unordered_map<storage::SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const storage::SymbolId>) override;

 protected:
  [[nodiscard]] std::span<const Pair> symbols() const { return symbols_; }

 private:
  const std::span<const Pair> symbols_;
};

}  // namespace velmora::train
