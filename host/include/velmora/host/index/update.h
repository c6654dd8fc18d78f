// Changes some files of an index and leaves the others as they are. Index::update makes one, within
// its transaction, and one thread uses it.
//
// What the index holds afterwards is a function of the files that were put, whatever it held
// before: the ids too, which are made of the path, the kind, the fqn and the place among the
// symbols of the file that share these. They are above 0 and below 2^53, those of a file are
// neighbours, and one lasts as long as what it is made of; rarely, where two hashes meet, one
// changes when the other symbol or file comes or goes. An import, which has ids of its own, gets
// such ids with its first update, and its vectors move along.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/export.h"
#include "velmora/host/index/file_record.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/index/text_vectors.h"
#include "velmora/host/index/tree_state.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::storage {
class Database;
}

namespace velmora::host::index {

// How many symbols a file may have.
inline constexpr std::size_t MOST_SYMBOLS = (std::size_t{1} << 22) - 1;

// An update under way.
class VELMORA_API Update {
 public:
  // Within a transaction of `database`, which must outlive it.
  explicit Update(storage::Database& database);
  ~Update();

  // What the index knew before the update.
  [[nodiscard]] const TreeState& tree() const;

  // Notes which version of the extraction made the symbols now, and the largest files that the user
  // wanted read, in bytes (below 2^63); 0: they said nothing.
  void set_made_by(std::string_view extraction, std::uintmax_t largest_file);

  // Stores a file; `symbols`, in the order in which they stand in it, become all that it holds. One
  // whose id the file held before keeps its embeddings unless its name, signature or docstring is
  // another one now. The symbols have the file's path; their ids and embeddings are not looked at.
  // REQUIRES: not more than MOST_SYMBOLS.
  void put(const FileRecord& file, const std::vector<Symbol>& symbols);

  // Stores what is known of a file whose symbols stay as they are. REQUIRES: the index has it.
  void note(const FileRecord& file);

  // Removes a file and its symbols. REQUIRES: the index has it.
  void remove(const std::string& path);

  // Writes the vector of a symbol, of whose body it is given the words; false when it has none. All
  // zero is no vector.
  using VectorOf = std::function<bool(const storage::SymbolRow& symbol, std::string_view words,
                                      std::span<float> vector)>;

  // Embeds with the program's own model what had no turn with it since it was put, by ascending id,
  // and drops the vectors of another one that was the program's own before. The rows live for the
  // call. Returns how many vectors were stored. To be called after the files are stored.
  std::int64_t embed(std::string_view model, std::size_t dimensions, const VectorOf& vector_of);

  // How many symbols that call would offer.
  [[nodiscard]] std::int64_t waiting_for(std::string_view model) const;

  // The vectors of texts, in the same transaction.
  [[nodiscard]] TextVectors& text_vectors();

  // How many symbols the index holds, with what was put so far.
  [[nodiscard]] std::int64_t symbol_count() const;

  // Whether a symbol or a vector was added, removed or changed.
  [[nodiscard]] bool changed() const;

  // Settles the ids; the last call.
  void finish();

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::host::index
