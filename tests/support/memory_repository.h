// A repository in memory: rows and neighbours as a test lists them. A test changes them while
// nobody asks.
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "velmora/storage/repository_retrieval.h"

namespace velmora::testing {

using models::SymbolId;

struct Row {
  SymbolId id = 0;
  std::string name = {};
  std::string path = "src/a.py";
  std::string kind = "function";
  std::string language = "python";
  std::optional<std::string> signature = {};
  std::optional<std::string> docstring = {};
};

class MemoryRepository : public storage::Repository {
 public:
  explicit MemoryRepository(std::vector<Row> symbols = {}) : rows(std::move(symbols)) {}

  storage::IndexFingerprint retrieval_fingerprint() override {
    ++fingerprint_reads;
    return {std::to_string(generation)};
  }

  // A cursor that overwrites a row's texts when it moves on, as the interface allows.
  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override {
    ++symbol_reads;
    return std::make_unique<Cursor>(*this, languages, kinds);
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float>, std::string_view,
                                                       storage::NearestOptions options) override {
    if (nearest_error) std::rethrow_exception(nearest_error);
    const std::lock_guard guard(asked_lock_);
    asked.push_back(options.top_k);
    const auto count = std::min(options.top_k, static_cast<std::int64_t>(nearest.size()));
    return {nearest.begin(), nearest.begin() + count};
  }

  std::unordered_map<SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const SymbolId> ids) override {
    if (stored_error) std::rethrow_exception(stored_error);
    std::unordered_map<SymbolId, storage::StoredSymbol> found;
    for (const Row& row : rows) {
      if (row.id != missing && std::find(ids.begin(), ids.end(), row.id) != ids.end()) {
        found[row.id] = {row.docstring};
      }
    }
    return found;
  }

  std::vector<Row> rows;
  bool filters = true;  // false: gives rows of languages and kinds too that nobody asked for
  std::atomic<int> generation = 1;
  std::atomic<int> fingerprint_reads = 0;
  std::atomic<int> symbol_reads = 0;
  std::exception_ptr row_error;               // thrown after the last row
  std::vector<storage::NearestPair> nearest;  // the whole store, nearest first
  std::vector<std::int64_t> asked;            // the counts asked for
  std::exception_ptr nearest_error;
  std::exception_ptr stored_error;
  std::optional<SymbolId> missing;  // no longer stored

 private:
  std::mutex asked_lock_;

  class Cursor : public storage::SymbolCursor {
   public:
    Cursor(const MemoryRepository& repository, std::span<const std::string_view> languages,
           std::span<const std::string_view> kinds)
        : repository_(repository), languages_(languages), kinds_(kinds) {}

    const storage::SymbolRow* next() override {
      const auto is_wanted = [this](const Row& row) {
        return !repository_.filters ||
               (contains(languages_, row.language) && contains(kinds_, row.kind));
      };
      while (next_ < repository_.rows.size() && !is_wanted(repository_.rows[next_])) ++next_;
      if (next_ == repository_.rows.size()) {
        if (repository_.row_error) std::rethrow_exception(repository_.row_error);
        return nullptr;
      }
      for (std::string* text : {&row_.name, &row_.path, &row_.kind, &fqn_}) {
        std::fill(text->begin(), text->end(), '!');
      }
      row_ = repository_.rows[next_++];
      fqn_ = "pkg." + row_.name;
      view_ = {row_.id, fqn_, row_.name,      row_.kind,     row_.path,
               1,       2,    row_.signature, row_.docstring};
      return &view_;
    }

   private:
    static bool contains(std::span<const std::string_view> words, std::string_view word) {
      return std::find(words.begin(), words.end(), word) != words.end();
    }

    const MemoryRepository& repository_;
    const std::span<const std::string_view> languages_, kinds_;
    std::size_t next_ = 0;
    Row row_;
    std::string fqn_;
    storage::SymbolRow view_;
  };
};

}  // namespace velmora::testing
