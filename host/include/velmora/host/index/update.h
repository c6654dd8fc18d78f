// Changes some files of an index and leaves the others as they are. Index::update makes one, within
// its transaction, and one thread uses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "velmora/host/index/file_record.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/index/text_vectors.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::storage {
class Database;
}

namespace velmora::host::index {

class Update {
 public:
  explicit Update(storage::Database& database);
  ~Update();

  // The files of the index, by path, as they were before the update.
  [[nodiscard]] const std::unordered_map<std::string, FileRecord>& files() const;

  // Which version of the extraction made the symbols; empty when something else did.
  [[nodiscard]] std::string extraction() const;
  void set_extraction(std::string_view version);

  // Stores a file; `symbols` become all that it holds. One that the file held before (the same
  // kind, fqn, name, signature and docstring; among equals by their order) keeps its id and
  // embeddings, its lines may differ. Others get ids that no symbol had before. The symbols have
  // the file's path; their ids and embeddings are not looked at.
  void put(const FileRecord& file, const std::vector<Symbol>& symbols);

  // Stores what is known of a file whose symbols stay as they are. REQUIRES: the index has it.
  void note(const FileRecord& file);

  // Removes a file and its symbols. REQUIRES: the index has it.
  void remove(const std::string& path);

  // Writes the vector of a symbol; false when it has none. All zero is no vector.
  using VectorOf = std::function<bool(const storage::SymbolRow& symbol, std::span<float> vector)>;

  // Embeds with the program's own model what did not have its turn with it yet, by ascending id,
  // and drops the vectors of another one that was the program's own before. The rows live for the
  // call. Returns how many vectors were stored. To be called after the files are stored.
  std::int64_t embed(std::string_view model, std::size_t dimensions, const VectorOf& vector_of);

  // The vectors of texts, in the same transaction.
  [[nodiscard]] TextVectors& text_vectors();

  [[nodiscard]] std::int64_t symbol_count() const;

  // Whether a symbol or a vector was added, removed or changed.
  [[nodiscard]] bool changed() const;

  // Writes down the ids given; the last call.
  void finish();

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::host::index
