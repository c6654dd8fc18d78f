// What the contract tests have an index hold, and what of it an index answers with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "velmora/storage/repository_retrieval.h"

namespace velmora::contract {

using models::SymbolId;

// One symbol of an index.
struct HeldSymbol {
  SymbolId id = 0;
  std::string fqn = {};
  std::string name = {};
  std::string kind = {};
  std::string language = {};
  std::string path = {};
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;
  std::optional<std::string> signature = {};
  std::optional<std::string> docstring = {};
  std::vector<float> embedding = {};  // of any length above 0; empty: the symbol has none

  bool operator==(const HeldSymbol&) const = default;

  friend void PrintTo(const HeldSymbol& symbol, std::ostream* out) {
    *out << ::testing::PrintToString(std::tuple(symbol.id, symbol.fqn, symbol.name, symbol.kind,
                                                symbol.path, symbol.start_line, symbol.end_line,
                                                symbol.signature, symbol.docstring));
  }
};

// All that an index holds.
struct Holdings {
  std::string model = {};  // that made the embeddings
  std::vector<HeldSymbol> symbols = {};

  bool operator==(const Holdings&) const = default;

  [[nodiscard]] const HeldSymbol* find(SymbolId id) const {
    const auto found = std::find_if(symbols.begin(), symbols.end(),
                                    [id](const HeldSymbol& symbol) { return symbol.id == id; });
    return found == symbols.end() ? nullptr : &*found;
  }
};

namespace internal {

// Words as no C string holds them: one behind the other, without an end of their own.
class Words {
 public:
  explicit Words(const std::vector<std::string_view>& words) {
    for (const std::string_view word : words) text_ += word;
    std::size_t begin = 0;
    for (const std::string_view word : words) {
      views_.push_back(std::string_view(text_).substr(begin, word.size()));
      begin += word.size();
    }
  }
  Words(const Words&) = delete;
  Words& operator=(const Words&) = delete;

  [[nodiscard]] std::span<const std::string_view> views() const { return views_; }
  [[nodiscard]] bool contains(std::string_view word) const {
    return std::find(views_.begin(), views_.end(), word) != views_.end();
  }

 private:
  std::string text_;
  std::vector<std::string_view> views_;
};

// The symbols that the checks begin with: ids at the ends of their range, texts that are empty,
// absent or hard to keep, kinds and languages that are not retrieved, two directions shared by
// several embeddings of other lengths, and enough rows to fill more than one page of anything.
inline Holdings first_holdings() {
  constexpr SymbolId LEAST = std::numeric_limits<SymbolId>::min();
  constexpr SymbolId MOST = std::numeric_limits<SymbolId>::max();
  Holdings held{"contract-model"};
  const auto add = [&held](SymbolId id, const std::string& name, const char* kind,
                           const char* language, const std::string& path,
                           std::optional<std::string> signature,
                           std::optional<std::string> docstring, std::vector<float> embedding) {
    const auto line = static_cast<std::int64_t>(held.symbols.size()) + 1;
    held.symbols.push_back({id, "net." + name, name, kind, language, path, line, 3 * line,
                            std::move(signature), std::move(docstring), std::move(embedding)});
  };
  add(7, "delay", "method", "python", "net.py", "delay(self, n)", "Until the next.", {3, 4, 0});
  add(LEAST, "connect", "function", "python", "net.py", "", "", {4, 3, 0});
  add(MOST, "Ledger", "class", "python", "src/\xC3\xA4/ledger.py", {}, {}, {0.75F, 1, 0});
  add(0, "queue_push", "function", "c", "src/queue.c", "int queue_push(struct queue *queue)",
      std::string("Before the \0 and\nbehind it.", 27), {0, 0, 2});
  add(-7, "pool", "module", "rust", "src/pool.rs", {}, "", {-1, 0, 0});
  add(40, "Setup", "section", "markdown", "README.md", {}, "How to.", {1, 1, 1});
  add(41, "limit", "variable", "python", "net.py", {}, {}, {});
  for (std::int64_t i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i);
    const auto x = static_cast<float>(i % 17 - 8);
    const auto y = static_cast<float>(i % 23 - 11);
    add(1000 + i * 3, "f" + number, i % 2 == 0 ? "function" : "enum", i % 3 == 0 ? "go" : "java",
        "big/" + std::to_string(i / 20) + ".x", {}, {}, {});
    HeldSymbol& symbol = held.symbols.back();
    if (i % 2 == 0) symbol.signature = "f" + number + "()";
    if (i % 5 == 0) symbol.docstring = std::string(static_cast<std::size_t>(i * 7), 'd');
    if (i % 4 == 0) symbol.embedding = {x, y, 1};
  }
  return held;
}

// Each differs from the first in one thing: a text, an embedding, a symbol that is gone.
inline std::vector<Holdings> changed_holdings() {
  std::vector<Holdings> changed(3, first_holdings());
  changed[0].symbols[0].docstring = "Until the last.";
  changed[1].symbols[1].embedding = {0, -1, 0};
  changed[2].symbols.erase(changed[2].symbols.begin());
  return changed;
}

// A symbol as a row gives it, without its language and embedding.
inline HeldSymbol as_row(HeldSymbol symbol) {
  symbol.language.clear();
  symbol.embedding.clear();
  return symbol;
}
inline HeldSymbol as_row(const storage::SymbolRow& row) {
  HeldSymbol symbol{row.id, std::string(row.fqn),  std::string(row.name), std::string(row.kind),
                    "",     std::string(row.path), row.start_line,        row.end_line};
  if (row.signature) symbol.signature.emplace(*row.signature);
  if (row.docstring) symbol.docstring.emplace(*row.docstring);
  return symbol;
}

inline std::vector<SymbolId> ids_of(const std::vector<HeldSymbol>& rows) {
  std::vector<SymbolId> ids;
  for (const HeldSymbol& row : rows) ids.push_back(row.id);
  return ids;
}

// What a walk over the symbols of these languages and kinds has to give, by ascending id.
inline std::vector<HeldSymbol> expected_rows(const Holdings& held, const Words& languages,
                                             const Words& kinds) {
  std::vector<HeldSymbol> rows;
  for (const HeldSymbol& symbol : held.symbols) {
    if (languages.contains(symbol.language) && kinds.contains(symbol.kind)) {
      rows.push_back(as_row(symbol));
    }
  }
  std::sort(rows.begin(), rows.end(),
            [](const HeldSymbol& left, const HeldSymbol& right) { return left.id < right.id; });
  return rows;
}

inline std::vector<HeldSymbol> by_id(std::vector<HeldSymbol> rows) {
  std::stable_sort(rows.begin(), rows.end(), [](const HeldSymbol& left, const HeldSymbol& right) {
    return left.id < right.id;
  });
  return rows;
}

inline double cosine(std::span<const float> left, std::span<const float> right) {
  double product = 0.0, left_square = 0.0, right_square = 0.0;
  for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
    const double x = left[i], y = right[i];
    product += x * y;
    left_square += x * x;
    right_square += y * y;
  }
  return product / std::sqrt(left_square * right_square);
}

}  // namespace internal
}  // namespace velmora::contract
