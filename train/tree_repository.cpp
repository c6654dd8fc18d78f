#include "tree_repository.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "index/best_rows.h"
#include "index/dot_product.h"
#include "index/stored_vector.h"

namespace velmora::train {
namespace {

std::optional<std::string_view> some(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional<std::string_view>(text);
}

double norm(std::span<const std::int8_t> numbers) {
  std::int64_t sum = 0;
  for (const std::int8_t number : numbers) sum += number * number;
  return std::sqrt(static_cast<double>(sum));
}

class Cursor final : public storage::SymbolCursor {
 public:
  Cursor(const Tree& tree, const std::vector<bool>& hidden, bool bodies,
         std::span<const std::string_view> languages, std::span<const std::string_view> kinds)
      : tree_(tree), hidden_(hidden), bodies_(bodies), languages_(languages), kinds_(kinds) {}

  const storage::SymbolRow* next() override {
    while (next_ < tree_.symbols.size() && !is_wanted(tree_.symbols[next_])) ++next_;
    if (next_ == tree_.symbols.size()) return nullptr;
    const TreeSymbol& symbol = tree_.symbols[next_];
    text_ = hidden_[next_] ? "" : symbol.docstring;
    if (bodies_ && !symbol.body.empty()) {
      if (!text_.empty()) text_ += '\n';
      text_ += symbol.body;
    }
    row_ = {static_cast<storage::SymbolId>(next_),
            symbol.fqn,
            symbol.name,
            symbol.kind,
            symbol.path,
            symbol.start_line,
            symbol.end_line,
            some(symbol.signature),
            some(text_)};
    ++next_;
    return &row_;
  }

 private:
  [[nodiscard]] bool is_wanted(const TreeSymbol& symbol) const {
    return std::find(languages_.begin(), languages_.end(), symbol.language) != languages_.end() &&
           std::find(kinds_.begin(), kinds_.end(), symbol.kind) != kinds_.end();
  }

  const Tree& tree_;
  const std::vector<bool>& hidden_;
  const bool bodies_;
  const std::span<const std::string_view> languages_;
  const std::span<const std::string_view> kinds_;
  std::size_t next_ = 0;
  std::string text_;
  storage::SymbolRow row_;
};

}  // namespace

TreeVectors::TreeVectors(const Tree& tree, const std::vector<bool>& hidden,
                         const host::embedding::WordModel& model)
    : width_(model.dimensions()),
      rows_(tree.symbols.size() * width_),
      norms_(tree.symbols.size(), 0.0) {
  std::vector<float> vector(width_);
  for (std::size_t i = 0; i < tree.symbols.size(); ++i) {
    model.embed_symbol(tree.symbols[i].parts(hidden[i]), vector);
    if (std::ranges::all_of(vector, [](float value) { return value == 0.0F; })) continue;
    const auto row = std::span(rows_).subspan(i * width_, width_);
    host::index::write_direction<std::int8_t>(vector, row);
    norms_[i] = norm(row);
  }
}

std::vector<storage::NearestPair> TreeVectors::nearest(std::span<const float> values,
                                                       std::int64_t top_k) const {
  std::vector<std::int16_t> query(width_);
  host::index::write_direction<std::int16_t>(values, query);
  const host::index::DotProducts& dots = host::index::dot_products();
  host::index::BestRows best(static_cast<std::size_t>(top_k));
  for (std::size_t i = 0; i < norms_.size(); ++i) {
    if (norms_[i] == 0.0) continue;
    best.offer(dots.int8(query.data(), rows_.data() + i * width_, width_) / norms_[i], i);
  }
  std::vector<storage::NearestPair> pairs;
  for (const host::index::BestRows::Row& row : std::move(best).take()) {
    pairs.push_back(
        {.id = static_cast<storage::SymbolId>(row.number), .similarity = row.similarity});
  }
  return pairs;
}

TreeRepository::TreeRepository(const Tree& tree, const TreeExam& exam,
                               std::shared_ptr<const TreeVectors> vectors, bool bodies)
    : tree_(tree), exam_(exam), vectors_(std::move(vectors)), bodies_(bodies) {}

storage::IndexFingerprint TreeRepository::retrieval_fingerprint() { return {tree_.repository}; }

std::unique_ptr<storage::SymbolCursor> TreeRepository::retrievable_code_symbols(
    std::span<const std::string_view> languages, std::span<const std::string_view> kinds) {
  return std::make_unique<Cursor>(tree_, exam_.hidden, bodies_, languages, kinds);
}

std::vector<storage::NearestPair> TreeRepository::nearest_symbol_ids(
    std::span<const float> values, std::string_view, storage::NearestOptions options) {
  return vectors_->nearest(values, options.top_k);
}

std::unordered_map<storage::SymbolId, storage::StoredSymbol> TreeRepository::get_symbols_by_ids(
    std::span<const storage::SymbolId> ids) {
  std::unordered_map<storage::SymbolId, storage::StoredSymbol> found;
  for (const storage::SymbolId id : ids) {
    const auto number = static_cast<std::size_t>(id);
    storage::StoredSymbol symbol;
    if (exam_.kind == PairKind::commit) symbol.docstring = some(tree_.symbols[number].docstring);
    found.emplace(id, std::move(symbol));
  }
  return found;
}

}  // namespace velmora::train
