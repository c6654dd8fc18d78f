// The embedded index: the symbols, files and embeddings of one repository in an SQLite file.
//
// Threads: every function may be called from several threads at once, and several processes may
// open one file: any number read while one writes. A reader sees the last committed state, whole.
// An error of SQLite is thrown as an IndexError that names the file and says what to do. The index
// of a repository is not trusted: index_folder.h says of its files, connection.h of what they hold.
// Every page has a checksum; what a disk has damaged is an error where it is read.
//
// An index is read where nothing can be written too: on a medium without writing, in a folder of
// somebody else's, on a full disk.
//
// The file may be deleted, or replaced by another index, while an Index is open on its path: calls
// made after that ask the file that stands at the path then, and throw IndexError while there is
// none.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "velmora/export.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/index/tree_state.h"
#include "velmora/host/index/update.h"
#include "velmora/host/index/vector_kind.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::host::index {

class Catalog;

// There is no usable index at the path, or somebody else is writing it, or its disk takes nothing
// more. The message is a sentence for the user and says what to do.
class VELMORA_API IndexError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An open index. Closed with the last pointer to it.
class VELMORA_API Index final : public storage::Repository {
 public:
  // Opens the index at `file`; reads all of it first when it was not made here. Throws IndexError
  // when there is none, when it was never filled, when its format is not this version's, or when
  // the file is something else.
  [[nodiscard]] static std::shared_ptr<Index> open(const std::filesystem::path& file);

  // The same, but null when there is none, or none that was ever filled.
  [[nodiscard]] static std::shared_ptr<Index> find(const std::filesystem::path& file);

  // Opens the index at `file` for writing; makes it, and the folders above it, when it is missing.
  // An index made here that was not filled is removed again with its Index. Throws IndexError when
  // the file is something else or of another format: nothing is overwritten.
  [[nodiscard]] static std::shared_ptr<Index> open_or_create(const std::filesystem::path& file);

  // Opens the index of a repository for bringing it up to date; makes it when it is missing. One
  // that is damaged anywhere, of another format, something else, or that was not made here, is
  // removed and an empty one made; so is every one with `rebuild`. `tell` is called with a sentence
  // about it. Reads the whole file.
  [[nodiscard]] static std::shared_ptr<Index> open_or_remake(
      const std::filesystem::path& file, bool rebuild,
      const std::function<void(const std::string&)>& tell);

  ~Index() override;

  // Whether the index was made where it is, by this user or the system's administrator. One that
  // was not came with a clone, an archive or a copy, and says what somebody else wanted it to say.
  [[nodiscard]] bool made_here();

  // What the index knows of the files that it was made of, of one state.
  [[nodiscard]] TreeState tree_state();

  // Replaces everything by the symbols that `next` yields until it returns nothing, and returns how
  // many those were. All or nothing: an error leaves the index as it was, an error of `next`
  // reaches the caller unchanged. Readers see the earlier state until the last symbol is in.
  //
  // A symbol without an id gets the largest id so far plus one, the first one 1. Each symbol is
  // stored or refused before the next is asked for: std::invalid_argument names a repeated id, a
  // model that embeds a symbol twice, an id that would leave 64 bits, or a vector that is empty,
  // all zero or not finite. Throws IndexError when another writer does not finish within ten
  // seconds. The vectors are kept as `kind`, which is not int8.
  std::int64_t replace(const std::function<std::optional<Symbol>()>& next,
                       VectorKind kind = VectorKind::float32);

  // Changes single files of the index. All or nothing: what `change` throws reaches the caller and
  // leaves the index as it was, and readers see the earlier state until `change` has returned. The
  // fingerprint stays as it is when no symbol changed. Throws IndexError as replace does.
  void update(const std::function<void(Update&)>& change);

  // Changes the vectors of texts alone, otherwise as update does.
  void update_vectors(const std::function<void(TextVectors&)>& change);

  // Calls `read` with what the index knows (index/catalog.h), all of one state of it. The catalog
  // is of no use afterwards. What `read` throws reaches the caller.
  void read(const std::function<void(Catalog&)>& read);

  // A text that names this state of this file, among all states of all files.
  storage::IndexFingerprint retrieval_fingerprint() override;

  // The rows by ascending id, all of one state of the index. What they give as docstring is the
  // docstring and, on a line of their own, the words of the body: text search reads both. The
  // cursor keeps a connection to itself until it is destroyed.
  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override;

  // Exact: every vector of the model is compared. Nearest first, equal ones by lower id. The first
  // search of a model after the index changed reads its vectors, and they stay in memory until it
  // changes again. Throws std::invalid_argument when `top_k` is below 1, when `values` is empty,
  // all zero or not finite, or when a stored vector of the model has another length.
  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float> values,
                                                       std::string_view model,
                                                       storage::NearestOptions options) override;

  // With the docstrings alone.
  std::unordered_map<SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const SymbolId> ids) override;

  // Calls `read` with the symbol `id`, whose texts live for the call, if the index holds it; with
  // the docstring alone.
  void read_symbol(SymbolId id, const std::function<void(const storage::SymbolRow&)>& read);

 private:
  struct Parts;

  // Runs `work` in a transaction; `work` tells whether the state is another one afterwards.
  void write(const std::function<bool(storage::Database&)>& work);

  explicit Index(std::unique_ptr<Parts> parts);

  const std::unique_ptr<Parts> parts_;
};

}  // namespace velmora::host::index
