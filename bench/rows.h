// Symbols in memory, and the index that serves them.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "velmora/storage/repository_retrieval.h"

namespace velmora::bench {

struct Row {
  models::SymbolId id = 0;
  std::string fqn;
  std::string name;
  std::string kind;
  std::string path;
  std::optional<std::string> signature;
  std::optional<std::string> docstring;
};

using Rows = std::vector<Row>;

// An index that never changes and costs nothing to read. It has no embeddings.
class RowsRepository final : public storage::Repository {
 public:
  // To be read by their ids, rows stand in the order of these.
  explicit RowsRepository(std::shared_ptr<const Rows> rows) : rows_(std::move(rows)) {}

  storage::IndexFingerprint retrieval_fingerprint() override { return {"1"}; }

  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view>, std::span<const std::string_view>) override {
    return std::make_unique<Cursor>(*rows_);
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float>, std::string_view,
                                                       storage::NearestOptions) override {
    return {};
  }

  std::unordered_map<models::SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const models::SymbolId> ids) override {
    std::unordered_map<models::SymbolId, storage::StoredSymbol> found;
    for (const models::SymbolId id : ids) {
      const auto row = std::ranges::lower_bound(*rows_, id, {}, &Row::id);
      if (row != rows_->end() && row->id == id) found[id].docstring = row->docstring;
    }
    return found;
  }

 private:
  class Cursor : public storage::SymbolCursor {
   public:
    explicit Cursor(const Rows& rows) : rows_(rows) {}

    const storage::SymbolRow* next() override {
      if (next_ == rows_.size()) return nullptr;
      const Row& row = rows_[next_++];
      view_ = {row.id, row.fqn, row.name, row.kind, row.path, 1, 9, row.signature, row.docstring};
      return &view_;
    }

   private:
    const Rows& rows_;
    std::size_t next_ = 0;
    storage::SymbolRow view_;
  };

  std::shared_ptr<const Rows> rows_;
};

}  // namespace velmora::bench
