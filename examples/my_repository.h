// The least that a host provides: an index of two symbols in memory, without embeddings.
#pragma once

#include <velmora/storage/repository_retrieval.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace storage = velmora::storage;

class MyRepository : public storage::Repository {
 public:
  // This index never changes, so its fingerprint never does.
  storage::IndexFingerprint retrieval_fingerprint() override { return {"1"}; }

  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override {
    return std::make_unique<Cursor>(symbols_, contains(languages, "python"), kinds);
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float>, std::string_view,
                                                       storage::NearestOptions) override {
    return {};
  }

  std::unordered_map<storage::SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const storage::SymbolId> ids) override {
    std::unordered_map<storage::SymbolId, storage::StoredSymbol> found;
    for (const storage::SymbolRow& symbol : symbols_) {
      if (contains(ids, symbol.id))
        found[symbol.id] = {std::optional<std::string>(symbol.docstring)};
    }
    return found;
  }

 private:
  using Symbols = std::vector<storage::SymbolRow>;

  static bool contains(auto values, const auto& value) {
    return std::find(values.begin(), values.end(), value) != values.end();
  }

  class Cursor : public storage::SymbolCursor {
   public:
    Cursor(const Symbols& symbols, bool python, std::span<const std::string_view> kinds)
        : symbols_(symbols), next_(python ? 0 : symbols.size()), kinds_(kinds) {}

    const storage::SymbolRow* next() override {
      while (next_ < symbols_.size()) {
        const storage::SymbolRow& symbol = symbols_[next_++];
        if (contains(kinds_, symbol.kind)) return &symbol;
      }
      return nullptr;
    }

   private:
    const Symbols& symbols_;
    std::size_t next_;
    std::span<const std::string_view> kinds_;
  };

  const Symbols symbols_ = {
      {1, "app.config.parse_config", "parse_config", "function", "src/config.py", 10, 24,
       "parse_config(path)", "Reads the settings of a file."},
      {2, "app.main", "main", "function", "src/main.py", 1, 9, "main()", std::nullopt}};
};
