// What an index knows beside retrieval: which symbols there are, exhaustively and in order, and how
// many of what. Index::read makes a catalog, within its transaction, and one thread uses it: all
// its answers are of one state of the index.
//
// A choice of symbols costs one pass over the names of the symbols at most, whatever is asked for,
// and holds a few words in memory for each that matches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/host/index/file_record.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/index/tree_state.h"

namespace velmora::storage {
class Database;
}

namespace velmora::host::index {

// How well a symbol fits, 0 best; nothing when it does not. Called once for each symbol in
// question; the texts live for the call.
using Grade = std::function<std::optional<int>(std::string_view name, std::string_view fqn)>;

// Which symbols are meant, and how many of them.
struct Choice {
  Grade grade = {};                       // empty: every symbol fits
  std::string place = {};                 // a file, or a folder with all in it; "": everywhere
  std::vector<std::string> kinds = {};    // empty: every kind
  std::optional<std::int64_t> line = {};  // only those whose lines include this one
  bool definitions_first = false;         // before what headers of C and C++ declare
  std::size_t offset = 0;                 // how many of the first are passed over
  std::size_t limit = std::numeric_limits<std::size_t>::max();
};

struct Chosen {
  std::vector<Symbol> symbols = {};  // with ids, without embeddings
  std::size_t total = 0;             // without offset and limit
  std::size_t best = 0;              // how many of all have the grade of the first
  std::size_t files = 0;             // in how many files all are
};

// How many there are of something.
struct Count {
  std::string name;
  std::int64_t count = 0;
};

struct ModelCount {
  std::string name;
  std::string kind;          // what its vectors are: float32, float16 or int8
  std::int64_t vectors = 0;  // symbols that have one
  std::int64_t waiting = 0;  // symbols that changed since the model had its turn
};

// What the index is as a whole. The lists begin with the largest count, equal ones by name, and
// have MOST_COUNTS entries at most, since an index may come from anybody.
inline constexpr std::int64_t MOST_COUNTS = 100;
struct Summary {
  std::int64_t written = 0;     // when its content changed last, in seconds since 1970
  std::string version = {};     // of the velmora that did this
  std::string extraction = {};  // the version of what made the symbols; empty: an import
  std::int64_t files = 0;       // that were read
  std::int64_t symbols = 0;
  std::vector<Count> file_languages = {};  // an import's files have the language ""
  std::vector<Count> symbol_languages = {};
  std::vector<Count> symbol_kinds = {};
  std::vector<ModelCount> models = {};
};

class Catalog {
 public:
  explicit Catalog(const storage::Database& database) : database_(database) {}

  // What is known of the file at `path`.
  [[nodiscard]] std::optional<FileRecord> file(std::string_view path) const;

  // What is known of all files.
  [[nodiscard]] TreeState tree_state() const;

  // Whether the index has something at `path`: a file, or a folder with one. "" is the root.
  [[nodiscard]] bool has_place(std::string_view path) const;

  // The files whose path ends with these whole parts, by path, not more than `limit`.
  [[nodiscard]] std::vector<std::string> files_ending(std::string_view parts,
                                                      std::int64_t limit) const;

  [[nodiscard]] std::optional<Symbol> symbol(SymbolId id) const;

  // The other parts of what a symbol of the index is a part of (counterparts.h), by path and id;
  // none where more than RowReader::MOST_COUNTERPARTS symbols have its name. Costs a look-up.
  [[nodiscard]] std::vector<Symbol> counterparts(const Symbol& symbol) const;

  // Whether something that cannot be called is named so, letter for letter. Known of names that
  // could begin a sentence, one capital (A to Z) and small letters alone; false for others. Costs a
  // look-up.
  [[nodiscard]] bool has_thing(std::string_view name) const;

  // The files with symbols that are at `place`, as Choice has it, by path, with the number of their
  // symbols.
  [[nodiscard]] std::vector<Count> symbols_by_file(const std::string& place) const;

  // The symbols that fit, by grade, path, first line and id; with `definitions_first`, among those
  // of one grade the functions in headers last.
  [[nodiscard]] Chosen choose(const Choice& choice) const;

  [[nodiscard]] Summary summary() const;

 private:
  const storage::Database& database_;
};

}  // namespace velmora::host::index
