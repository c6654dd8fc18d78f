// What the retriever needs of an index: the interface that a host implements.
//
// Threads: one retriever asks from any number of threads at once, so every function of `Repository`
// must allow concurrent calls. All of them may block. An error (anything derived from
// std::exception) may be thrown by each; its effect is told beside the function.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "velmora/export.h"
#include "velmora/models/symbol.h"

namespace velmora::storage {

using models::SymbolId;

// Identifies one state of an index. Opaque: the retriever keeps it and compares it, nothing else.
// Two states of an index, or of two indexes that may stand in each other's place, never share one.
struct IndexFingerprint {
  std::string value;  // any bytes

  bool operator==(const IndexFingerprint&) const = default;
};

// One symbol as the index streams it. The texts are the index's own memory and live until the
// cursor is asked for the next row.
struct SymbolRow {
  SymbolId id = 0;        // unique among the rows
  std::string_view fqn;   // fully qualified name
  std::string_view name;  // the symbol's own name
  std::string_view kind;  // one of the kinds asked for
  std::string_view path;  // relative to the root: forward slashes, no "./", no slash at an end
  std::int64_t start_line = 0;                // as the index counts lines; handed on to the hit
  std::int64_t end_line = 0;                  // the same
  std::optional<std::string_view> signature;  // its declaration, on one line at best
  std::optional<std::string_view> docstring;  // what is written about it
};

// Walks symbol rows once, from first to last. Used by one thread, and not after its repository.
class VELMORA_API SymbolCursor {
 public:
  virtual ~SymbolCursor() = default;

  // The next row, or null after the last one. The row and its texts live until the next call.
  // An error ends the corpus build and reaches the caller of `retrieve` unchanged.
  virtual const SymbolRow* next() = 0;
};

// A neighbour of a query vector.
struct NearestPair {
  SymbolId id = 0;          // whose vector it is
  double similarity = 0.0;  // cosine, -1 to 1; not read by the retriever

  bool operator==(const NearestPair&) const = default;
};

// What a rerank reads of a symbol that the index still holds.
struct StoredSymbol {
  std::optional<std::string> docstring;  // what is written about it

  bool operator==(const StoredSymbol&) const = default;
};

// Options of `Repository::nearest_symbol_ids`.
struct NearestOptions {
  std::int64_t top_k = 0;  // how many pairs to return at most; at least 1
};

// The index of one repository.
class VELMORA_API Repository {
 public:
  virtual ~Repository() = default;

  // The identity of the index as it is now. Differs from every earlier one when the index changed
  // since that was taken. Called on every question, without a lock of the retriever, so it must be
  // cheap: it reads no symbol rows. An error ends the question and reaches its caller unchanged.
  virtual IndexFingerprint retrieval_fingerprint() = 0;

  // Exactly the symbols whose language is one of `languages` and whose kind is one of `kinds`, each
  // once. The order is the index's own but should be the same for the same state: files are
  // numbered by first appearance in it, and rows that tie in a text search may come in its order.
  // Called when a corpus is built, under the retriever's build lock: no other thread of the same
  // retriever calls it meanwhile. Never null; no row at all is an empty cursor. The arguments live
  // until the cursor is destroyed. An error ends the question, keeps the previous corpus, and the
  // next question tries again.
  virtual std::unique_ptr<SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages, std::span<const std::string_view> kinds) = 0;

  // The stored embeddings of `model` nearest to `values` by cosine similarity, nearest first, at
  // most `options.top_k`. Fewer than `top_k` means that every embedding of the model was returned;
  // an empty list that the index holds none of that model. Ids of symbols that no longer exist may
  // be among them. Equal ones stand in a fixed order: with a larger `top_k` more follow the same
  // pairs. `values` of another length than the model's embeddings come from a model that changed
  // under its name: an error to throw, never memory to read past. Called once to a few times a
  // question, with growing `top_k`, without a lock of the retriever. Any error, a
  // TryAgainLaterError too, makes the semantic channel "failed" and is logged; the question is
  // answered by the other channels.
  virtual std::vector<NearestPair> nearest_symbol_ids(std::span<const float> values,
                                                      std::string_view model,
                                                      NearestOptions options) = 0;

  // The stored symbols of `ids`; an id that the index no longer holds is missing from the result.
  // Called at most once a question, for a rerank, with at most RERANK_DEPTH ids and without a lock
  // of the retriever. An error fails the rerank alone: the hits keep their order and the note says
  // so.
  virtual std::unordered_map<SymbolId, StoredSymbol> get_symbols_by_ids(
      std::span<const SymbolId> ids) = 0;
};

}  // namespace velmora::storage
