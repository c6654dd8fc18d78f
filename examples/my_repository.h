// The least that a host provides: an index of two symbols in memory, without embeddings.
#pragma once

#include <velmora/storage/repository_retrieval.h>

#include <memory>
#include <vector>

namespace storage = velmora::storage;

class MyRepository : public storage::Repository {
 public:
  // This index never changes, so its fingerprint never does.
  storage::IndexFingerprint retrieval_fingerprint() override { return {"1"}; }

  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view>, std::span<const std::string_view>) override {
    return std::make_unique<Cursor>();
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float>, std::string_view,
                                                       storage::NearestOptions) override {
    return {};
  }

  std::unordered_map<storage::SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const storage::SymbolId>) override {
    return {};
  }

 private:
  class Cursor : public storage::SymbolCursor {
   public:
    const storage::SymbolRow* next() override {
      return next_ == rows_.size() ? nullptr : &rows_[next_++];
    }

   private:
    std::vector<storage::SymbolRow> rows_ = {
        {1, "app.config.parse_config", "parse_config", "function", "src/config.py", 10, 24,
         "parse_config(path)", "Reads the settings of a file."},
        {2, "app.main", "main", "function", "src/main.py", 1, 9, "main()", std::nullopt}};
    std::size_t next_ = 0;
  };
};
