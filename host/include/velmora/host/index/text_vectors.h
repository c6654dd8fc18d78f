// The vectors of models that embed texts. The index keeps one for each distinct text of a model,
// whichever symbols have that text, and keeps it when none has it any more: the symbol may come
// back. A symbol has the vector of its text or none.
//
// Index::update_vectors and Update::text_vectors hand it out, within their transaction; one thread
// uses it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/export.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/index/vector_kind.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// A model, and how the texts that it embeds are made of symbols.
struct TextModel {
  std::string name = {};         // under which its vectors are kept
  std::string prefix = {};       // put before each text
  std::int64_t text_length = 0;  // the most characters of a text

  bool operator==(const TextModel&) const = default;
};

// Names a text: equal for equal ones, and different for others as far as a hash can be.
using TextKey = std::array<std::byte, 16>;

// The key of the text of a symbol, nothing when it is not embedded.
using KeyOf = std::function<std::optional<TextKey>(const storage::SymbolRow& symbol)>;

// Reads and changes these vectors.
class VELMORA_API TextVectors {
 public:
  // Within a transaction of `database`, which must outlive it.
  explicit TextVectors(storage::Database& database);

  // The models with vectors of texts, by name.
  [[nodiscard]] std::vector<TextModel> models() const;

  // Adds a model, or changes how its texts are made. With `half_precision` its vectors are kept as
  // float16 from now on, those that it has too; else as they were, and those of a new model as
  // float32. Throws std::invalid_argument for the name of the program's own model.
  void set_model(const TextModel& model, bool half_precision = false);

  // Removes all vectors of a model, if there is such a model; how it is kept stays.
  void forget(std::string_view model);

  // What link found.
  struct Links {
    // A symbol without a vector.
    struct Missing {
      SymbolId symbol = 0;  // the symbol
      TextKey key = {};     // names its text
    };
    std::int64_t symbols = 0;      // that are embedded
    std::int64_t linked = 0;       // that got their vector now
    std::vector<Missing> missing;  // by ascending id: no vector of their text is known
  };

  // Gives each symbol the vector of its text, if it is known; one of another text is no longer the
  // symbol's. Vectors that an import gave stay. REQUIRES: `model` was set.
  Links link(std::string_view model, const KeyOf& key_of);

  // The same for the symbols that came or changed since the last link or link_new of the model, or
  // since it was set.
  void link_new(std::string_view model, const KeyOf& key_of);

  // Stores the vector of a text, and gives it to those of `symbols` that are there and have that
  // text. Throws std::invalid_argument when `values` has no direction, or another length than the
  // earlier vectors of the model. REQUIRES: `model` was set.
  void add(std::string_view model, const TextKey& key, std::span<const float> values,
           std::span<const SymbolId> symbols, const KeyOf& key_of);

  // Removes vectors that no symbol has, the oldest first, until `most` of the model are left.
  void drop_unused(std::string_view model, std::int64_t most);

  // Whether the vectors of a symbol changed.
  [[nodiscard]] bool changed() const { return changed_; }

 private:
  [[nodiscard]] std::int64_t model_id(std::string_view model) const;
  [[nodiscard]] std::optional<std::int64_t> vector_of(std::int64_t model, const TextKey& key);
  [[nodiscard]] std::optional<VectorKind> kind_of_model(std::string_view name) const;
  void halve(std::int64_t model);
  void give(std::int64_t model, SymbolId symbol, std::int64_t vector);
  void take_away(std::int64_t model, SymbolId symbol);
  Links link_symbols(std::int64_t model, storage::Statement& select, const KeyOf& key_of);

  storage::Database& database_;
  storage::Statement select_vector_;
  storage::Statement give_;
  storage::Statement take_away_;
  bool changed_ = false;
};

}  // namespace velmora::host::index
