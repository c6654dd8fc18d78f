// A host's own index behind the C interface.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "c_interface/callback.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/velmora.h"

namespace velmora::host::c_interface {

class CallbackRepository final : public storage::Repository {
 public:
  // Throws std::invalid_argument for a table that lacks what it must have.
  explicit CallbackRepository(const velmora_repository& given);

  // From now on the host's `self` is released with this.
  void take() noexcept { self_.take(); }

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
  const velmora_repository table_;
  Self self_;
};

}  // namespace velmora::host::c_interface
