// One state of the index as retrieval sees it: its retrievable symbols, their names and files, and
// the text index over them. Built once, shared by every question that took it, never changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "utils/arena.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/workers/retrieval.h"
#include "workers/retrieval/text_index.h"

namespace velmora::workers::retrieval::internal {

using storage::IndexFingerprint;

// A symbol as the corpus keeps it; its texts live in the corpus.
struct CorpusSymbol {
  SymbolId id = 0;
  std::string_view fqn;
  std::string_view name;
  std::optional<std::string_view> signature;
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;
  std::uint32_t file = 0;  // its place in `Corpus::files`
  std::uint8_t kind = 0;   // its place in RETRIEVABLE_KINDS
};

// A file of the corpus. Its row in the file table is its place in `Corpus::files` plus 1.
struct CorpusFile {
  std::string_view path;
  bool in_tests = false;
  std::span<const SymbolId> symbols;  // in the order in which the index returned them
};

// A lower-case name and the symbols of that name in any case, in listing order: types first, then
// callables and modules, then constants; by path; by id.
struct CorpusName {
  std::string_view name;
  std::span<const SymbolId> symbols;
};

// Finds a symbol's place by its id: a flat hash table of places, which reads ids from the symbols.
class IdIndex {
 public:
  IdIndex() = default;
  explicit IdIndex(std::span<const CorpusSymbol> symbols);

  // The place of `id` among `symbols` (those of the constructor), the last one of a repeated id; or
  // nothing.
  [[nodiscard]] std::optional<std::size_t> find(std::span<const CorpusSymbol> symbols,
                                                SymbolId id) const;

 private:
  [[nodiscard]] std::size_t slot_of(std::span<const CorpusSymbol> symbols, SymbolId id) const;

  std::vector<std::uint32_t> slots_;  // place + 1, or 0 for a free slot; a power of two of them
};

// Any number of threads may read it at once.
struct Corpus {
  // The symbol of that id, or null when this state of the index has none that is retrievable.
  [[nodiscard]] const CorpusSymbol* find(SymbolId id) const;

  // The symbol as a hit carries it. Throws std::out_of_range for an id that `find` does not find.
  [[nodiscard]] RetrievedSymbol symbol(SymbolId id) const;

  // The symbols whose name in lower case is `name`, in listing order; empty when there are none.
  [[nodiscard]] std::span<const SymbolId> named(std::string_view name) const;

  // The names that start with `prefix`, other than `prefix` itself, ascending by code point.
  [[nodiscard]] std::span<const CorpusName> names_starting_with(std::string_view prefix) const;

  IndexFingerprint fingerprint;
  utils::TextArena texts;
  std::vector<CorpusSymbol> symbols;  // in the order in which the index returned them
  IdIndex by_id;
  std::vector<CorpusFile> files;  // in the order in which their paths first appeared
  std::vector<SymbolId> file_symbols;
  std::vector<CorpusName> names;  // ascending by code point, each name once
  std::vector<SymbolId> name_symbols;
  std::unique_ptr<const TextIndex> text;  // null when SQLite could not make its tables
};

// Reads the index's retrievable symbols once and builds their corpus. Blocks. Throws what the
// repository throws, std::out_of_range for a symbol of a kind that is not retrievable (before any
// table is made), and what making the text index throws. Logs how long it took at debug level.
[[nodiscard]] std::shared_ptr<const Corpus> build_corpus(storage::Repository& repository,
                                                         const IndexFingerprint& fingerprint,
                                                         const RetrievalSettings& settings,
                                                         bool text_tables_only = false);

}  // namespace velmora::workers::retrieval::internal
