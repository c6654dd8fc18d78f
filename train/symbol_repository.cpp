#include "symbol_repository.h"

#include <memory>
#include <optional>
#include <string>

namespace velmora::train {
namespace {

std::optional<std::string_view> some(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional<std::string_view>(text);
}

class Cursor final : public storage::SymbolCursor {
 public:
  explicit Cursor(std::span<const Pair> symbols) : symbols_(symbols) {}

  const storage::SymbolRow* next() override {
    if (next_ == symbols_.size()) return nullptr;
    const Pair& symbol = symbols_[next_++];
    row_ = {static_cast<storage::SymbolId>(next_),
            symbol.fqn,
            symbol.name,
            "function",
            symbol.path,
            1,
            1,
            some(symbol.signature),
            some(symbol.docstring)};
    return &row_;
  }

 private:
  const std::span<const Pair> symbols_;
  std::size_t next_ = 0;
  storage::SymbolRow row_;
};

}  // namespace

storage::IndexFingerprint SymbolRepository::retrieval_fingerprint() {
  return {symbols_.empty() ? "" : symbols_.front().repository};
}

std::unique_ptr<storage::SymbolCursor> SymbolRepository::retrievable_code_symbols(
    std::span<const std::string_view>, std::span<const std::string_view>) {
  return std::make_unique<Cursor>(symbols_);
}

std::vector<storage::NearestPair> SymbolRepository::nearest_symbol_ids(std::span<const float>,
                                                                       std::string_view,
                                                                       storage::NearestOptions) {
  return {};
}

std::unordered_map<storage::SymbolId, storage::StoredSymbol> SymbolRepository::get_symbols_by_ids(
    std::span<const storage::SymbolId>) {
  return {};  // nothing is reranked
}

}  // namespace velmora::train
