// The retriever: answers a question about one source repository (a sentence, keywords or a name)
// with the code symbols of its index that best answer it, best first.
//
// A host implements `storage::Repository` over its index, makes one HybridRetriever for a
// repository and asks it from any thread, off its event loop, since an answer blocks:
//
//   HybridRetriever retriever(repository, {.embedder = engine_query_embedder(engine)});
//   RetrievalResult answer = retriever.retrieve("parse config", {.limit = 3, .scope = "src"});
//
// Four channels rank (exact name, BM25 over symbols, BM25 over files, embeddings), reciprocal-rank
// fusion merges them, symbols whose name the question spells as code come first, and a decision
// model may reorder the first hits. A channel that cannot rank is reported in `channels` and in the
// note, never as an error. The same index and question give the same answer.
//
// The library starts no thread, prints nothing and writes no file. Texts are UTF-8; invalid bytes
// are carried through.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmora/engines/embedding.h"
#include "velmora/engines/rerank_client.h"
#include "velmora/export.h"
#include "velmora/models/symbol.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/utils/string_set.h"

namespace velmora::workers::retrieval {

using engines::RerankClient;
using models::SymbolId;

// --- Channels and what became of them ---

inline constexpr std::string_view EXACT = "exact";        // exact-name lookup
inline constexpr std::string_view LEXICAL = "lexical";    // BM25 over the words of each symbol
inline constexpr std::string_view FILE = "file";          // BM25 over whole files
inline constexpr std::string_view SEMANTIC = "semantic";  // cosine over stored embeddings

// Every channel, in the order in which they rank and are listed.
inline constexpr std::array<std::string_view, 4> CHANNELS = {EXACT, LEXICAL, FILE, SEMANTIC};

inline constexpr std::string_view OK = "ok";                    // ran in full
inline constexpr std::string_view PARTIAL = "partial";          // ranked, but stopped short
inline constexpr std::string_view UNAVAILABLE = "unavailable";  // could not rank; not an error
inline constexpr std::string_view FAILED = "failed";  // a collaborator threw; it was logged

// A value for each of some channels, in the order in which they were set; at most CHANNELS.size()
// entries, held in place. Keys are views and must have static storage, as the constants above have.
// Two maps are equal when they hold the same channels with equal values, in any order.
template <class Value>
class ChannelMap {
 public:
  // A channel and its value.
  using Entry = std::pair<std::string_view, Value>;

  ChannelMap() = default;
  // Sets the entries in their order, as `set` does.
  ChannelMap(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) set(entry.first, entry.second);
  }

  // Sets the channel's value, at the end when it has none yet. Throws std::length_error for more
  // channels than there are.
  void set(std::string_view channel, Value value) {
    if (Value* found = find(channel)) {
      *found = std::move(value);
      return;
    }
    if (size_ == entries_.size())
      throw std::length_error("a channel map holds four channels at most");
    entries_[size_++] = {channel, std::move(value)};
  }

  // The channel's value, or null when it has none. Valid until the map is changed.
  [[nodiscard]] const Value* find(std::string_view channel) const {
    const auto entry =
        std::find_if(begin(), end(), [&](const Entry& e) { return e.first == channel; });
    return entry == end() ? nullptr : &entry->second;
  }
  // The same, to change the value in place.
  [[nodiscard]] Value* find(std::string_view channel) {
    return const_cast<Value*>(std::as_const(*this).find(channel));
  }

  // The channel's value; throws std::out_of_range when it has none.
  [[nodiscard]] const Value& at(std::string_view channel) const {
    if (const Value* found = find(channel)) return *found;
    throw std::out_of_range("the map has no channel of that name");
  }

  // Whether the channel has a value.
  [[nodiscard]] bool contains(std::string_view channel) const { return find(channel) != nullptr; }
  // How many channels have one.
  [[nodiscard]] std::size_t size() const { return size_; }
  // Whether none has.
  [[nodiscard]] bool empty() const { return size_ == 0; }

  // The entries in the order in which they were set. Valid until the map is changed.
  [[nodiscard]] const Entry* begin() const { return entries_.data(); }
  [[nodiscard]] const Entry* end() const { return entries_.data() + size_; }  // behind the last

  // Whether both hold the same channels with equal values.
  friend bool operator==(const ChannelMap& left, const ChannelMap& right) {
    return left.size_ == right.size_ && std::all_of(left.begin(), left.end(), [&](const Entry& e) {
             const Value* other = right.find(e.first);
             return other != nullptr && *other == e.second;
           });
  }

 private:
  std::array<Entry, CHANNELS.size()> entries_{};
  std::size_t size_ = 0;
};

// --- Records ---

// A code symbol of the index, as a hit carries it.
struct RetrievedSymbol {
  SymbolId id = 0;              // as the index has it, and so are the others
  std::string fqn = {};         // fully qualified name
  std::string name = {};        // the symbol's own name
  std::string kind = {};        // a member of RETRIEVABLE_KINDS
  std::string path = {};        // as the index writes it, relative to the repository root
  std::int64_t start_line = 0;  // as the index counts lines
  std::int64_t end_line = 0;    // the same
  std::optional<std::string> signature = {};  // absent when the index has none

  bool operator==(const RetrievedSymbol&) const = default;
};

// One answer. The order of `RetrievalResult::hits` is the ranking, not the order of scores: a
// symbol that the question names comes before hits of higher score.
struct Hit {
  RetrievedSymbol symbol = {};  // what was found
  double score = 0.0;           // fused reciprocal-rank score; comparable within one answer
  ChannelMap<std::int64_t> ranks =
      {};  // 1-based place in each channel that found it, after the filters

  bool operator==(const Hit&) const = default;
};

// The answer to one question.
struct RetrievalResult {
  std::vector<Hit> hits = {};  // best first
  ChannelMap<std::string_view> channels =
      {};  // the status word of each of CHANNELS, in their order
  // One line on what the ranking had to do without or did in part, and on a rerank that failed;
  // absent when every channel ran in full.
  std::optional<std::string> note = {};

  bool operator==(const RetrievalResult&) const = default;
};

// A query embedded by the model that embedded the stored symbols.
struct QueryVector {
  std::vector<float> values = {};  // of the length of the stored ones
  std::string model = {};          // only stored embeddings of this model are compared with it

  bool operator==(const QueryVector&) const = default;
};

// Embeds a query (UTF-8). Called on the thread of the question, from several threads at once.
// Throws TryAgainLaterError while the model is not ready, which makes the semantic channel
// "unavailable"; any other error makes it "failed".
using QueryEmbedder = std::function<QueryVector(std::string_view query)>;

// The BM25 weight of a match in each field of a symbol. Any double is taken as it is, but SQLite
// refuses a rank expression with an exponent, an infinity or a NaN, and that error reaches the
// caller of `retrieve`.
struct VELMORA_API LexicalWeights {
  double name = 10.0;      // of its own name
  double signature = 3.0;  // of the signature
  double path = 2.0;       // of the path of its file
  double docstring = 1.0;  // of the docstring

  // The FTS5 rank expression of the symbol table, "bm25(10.0, 3.0, 2.0, 1.0)" by default.
  [[nodiscard]] std::string rank_function() const;

  bool operator==(const LexicalWeights&) const = default;
};

// The BM25 weight of a match in each field of a file.
struct VELMORA_API FileWeights {
  double names = 3.0;       // of the names of its symbols
  double path = 2.0;        // of its path
  double docstrings = 1.0;  // of their docstrings

  // The FTS5 rank expression of the file table, "bm25(3.0, 2.0, 1.0)" by default.
  [[nodiscard]] std::string rank_function() const;

  bool operator==(const FileWeights&) const = default;
};

// How the retriever ranks. The defaults are the tuned ones; nothing is validated.
struct RetrievalSettings {
  // A symbol at rank r of a channel scores 1 / (rrf_k + r) there. Larger values favour symbols that
  // several channels found.
  int rrf_k = 60;
  // How many symbols a list channel hands to the fusion; at least the limit is used.
  int depth = 50;
  // How many nearest embeddings the semantic channel searches first.
  int semantic_shortlist = 150;
  // The most nearest embeddings it searches for one question, when filters thin them out.
  int semantic_max_neighbours = 2400;
  // How many of the best-matching files rank their symbols; below 1 every matching file does.
  int best_files = 1;
  LexicalWeights weights = {};    // of the lexical channel
  FileWeights file_weights = {};  // of the file channel
  // The FTS5 tokenizer of both full-text tables, written into their definition as it stands. One
  // that SQLite does not know leaves the retriever without text search.
  std::string tokenizer = "porter unicode61";

  bool operator==(const RetrievalSettings&) const = default;
};

// --- Constants ---

// How many unpinned hits a rerank may reorder.
inline constexpr std::int64_t RERANK_DEPTH = 12;

// The decision client's switch that allows a rerank.
inline constexpr std::string_view RERANK_FEATURE = "explore_rerank_results";

namespace internal {
// The declaration kinds and "module".
constexpr auto retrievable_kinds() {
  std::array<std::string_view, models::DECLARATION_KINDS.size() + 1> kinds{};
  std::copy(models::DECLARATION_KINDS.begin(), models::DECLARATION_KINDS.end(), kinds.begin());
  kinds.back() = "module";
  return utils::StringSet<kinds.size()>(kinds);
}

struct Corpus;
}  // namespace internal

// The symbol kinds that take part in retrieval.
inline constexpr auto RETRIEVABLE_KINDS = internal::retrievable_kinds();

// Words that are never search terms and never indexed, in lower case; among them the pieces into
// which the splitter cuts English contractions ("don't" is "don" and "t").
inline constexpr auto STOP_WORDS = utils::string_set(
    "a", "about", "above", "after", "again", "against", "all", "am", "an", "and", "any", "are",
    "as", "at", "be", "because", "been", "before", "being", "below", "between", "both", "but", "by",
    "can", "could", "d", "did", "do", "does", "doing", "down", "during", "each", "few", "for",
    "from", "further", "had", "has", "have", "having", "he", "her", "here", "hers", "herself",
    "him", "himself", "his", "how", "i", "if", "in", "into", "is", "it", "its", "itself", "just",
    "ll", "m", "may", "me", "might", "more", "most", "must", "my", "myself", "need", "no", "nor",
    "not", "now", "of", "off", "on", "once", "only", "or", "other", "our", "ours", "ourselves",
    "out", "over", "own", "re", "s", "same", "shall", "she", "should", "so", "some", "such", "t",
    "than", "that", "the", "their", "theirs", "them", "themselves", "then", "there", "these",
    "they", "this", "those", "through", "to", "too", "under", "until", "up", "ve", "very", "was",
    "we", "were", "what", "when", "where", "which", "while", "who", "whom", "why", "will", "with",
    "would", "you", "your", "yours", "yourself", "yourselves");

// Words that mark a question about tests, in lower case.
inline constexpr auto TEST_QUERY_WORDS =
    utils::string_set("conftest", "fixture", "fixtures", "jest", "mock", "mocks", "pytest", "spec",
                      "specs", "test", "testing", "tests", "unittest", "vitest");

// --- Words: pure functions, which any thread may call ---

// The lower-case words of any text, in order, repeats kept: camelCase, snake_case, kebab-case,
// acronyms and numbers are split apart, so "getHTTPResponse_v2" is get, http, response, v, 2. A
// word is ASCII letters only or ASCII digits only; every other character separates.
[[nodiscard]] VELMORA_API std::vector<std::string> split_identifier(std::string_view text);

// The search terms of a question: its words without stop words, each once, in the order of first
// appearance. Empty when nothing is left.
[[nodiscard]] VELMORA_API std::vector<std::string> query_terms(std::string_view text);

// Whether a question with these terms is about tests: one of them is a test word.
[[nodiscard]] VELMORA_API bool is_test_query(std::span<const std::string> terms);

// Whether a word is spelled like a name in code rather than a word of prose: it holds an
// underscore, a dollar sign or a digit, mixes case, or is capitalised. "Offloader" and "utf8" are;
// "music" and "PDF" are not.
[[nodiscard]] VELMORA_API bool reads_as_code(std::string_view word);

// The words of a query that could be names in code, whole and as written, each once, in the order
// of first appearance. Stop words are dropped unless the only word of the query is one.
[[nodiscard]] VELMORA_API std::vector<std::string> query_names(std::string_view query);

// --- Fusion: pure functions, which any thread may call ---

// A symbol's 1-based rank in a channel. Symbols of equal rank tie.
struct RankedSymbol {
  SymbolId id = 0;        // of the symbol
  std::int64_t rank = 0;  // from 1

  bool operator==(const RankedSymbol&) const = default;
};

// A channel's ranks, best first, each id once.
using Ranks = std::vector<RankedSymbol>;

// A symbol of the fused ranking.
struct FusedSymbol {
  SymbolId id = 0;                 // each once
  double score = 0.0;              // the sum that it came to, above 0
  ChannelMap<std::int64_t> ranks;  // the channels that found it, in the order of the rankings

  bool operator==(const FusedSymbol&) const = default;
};

// The ranks 1, 2, 3, ... of the distinct ids in the order of first appearance; a repeat neither
// changes a rank nor uses one up.
[[nodiscard]] VELMORA_API Ranks ranks_in_order(std::span<const SymbolId> ids);

// Merges the channels' ranks, best first: an id scores the sum of 1 / (k + rank) over the channels
// that ranked it, added in the order of `rankings`, in double precision. Equal scores go to the
// smaller best rank, then to the lower id, so the order is total. Source: Cormack, Clarke and
// Büttcher, "Reciprocal rank fusion outperforms Condorcet and individual rank learning methods",
// SIGIR 2009.
[[nodiscard]] VELMORA_API std::vector<FusedSymbol> reciprocal_rank_fusion(
    const ChannelMap<std::span<const RankedSymbol>>& rankings, int k = 60);

// --- The retriever ---

// An embedder that asks `engine` (not null) for its model without waiting and embeds the query with
// it. It throws EmbeddingNotReadyError while the model is not loaded. The engine is asked on every
// call, so the semantic channel is there as soon as the model is.
[[nodiscard]] VELMORA_API QueryEmbedder
engine_query_embedder(std::shared_ptr<engines::EmbeddingEngine> engine);

// Options of a HybridRetriever.
struct RetrieverOptions {
  QueryEmbedder embedder = {};                     // empty: the semantic channel is unavailable
  std::optional<RetrievalSettings> settings = {};  // absent: the tuned defaults
  std::shared_ptr<RerankClient> decisions = {};    // null: nothing is ever reranked
  // Whether SQLite's own full-text tables rank text even where the posting lists, which answer the
  // same from a fraction of the time and the memory, could: to hold the two against each other.
  bool text_tables_only = false;
};

// Options of a question.
struct RetrieveOptions {
  // How many hits to return at most; at least 1.
  int limit = 10;
  // A folder or a file relative to the repository root; only symbols in it are returned. Absent, or
  // only dots and slashes that mean the root: the whole repository.
  std::optional<std::string_view> scope = {};
  // Whether symbols in test files may be returned; absent decides from the query's test words.
  std::optional<bool> include_tests = {};
  // Whether the decision model may reorder the first hits, when its switch is on.
  bool rerank = false;
};

// Answers questions about one repository, for as long as the repository lives. Shares the
// repository, the embedder and the decision client with the host. Any number of threads may ask at
// once.
class VELMORA_API HybridRetriever {
 public:
  // `repository` is not null. Reads nothing yet: the first question does.
  explicit HybridRetriever(std::shared_ptr<storage::Repository> repository,
                           RetrieverOptions options = {});
  HybridRetriever(const HybridRetriever&) = delete;
  HybridRetriever& operator=(const HybridRetriever&) = delete;
  ~HybridRetriever();

  // The symbols that best answer `query`, best first. Blocks: the first question after the index
  // changed reads it and builds the corpus, and questions that arrive meanwhile wait for
  // them; the query may be embedded, and the decision model may be asked.
  //
  // Throws std::invalid_argument when the limit is below 1, before the index is read. An error of
  // the repository while its fingerprint or its symbols are read, of the full-text tables, or of
  // the client's `feature_enabled`, reaches the caller unchanged; a failed build keeps the earlier
  // tables and the next question tries again. All other trouble is told by `channels` and `note`.
  RetrievalResult retrieve(std::string_view query, RetrieveOptions options = {});

 private:
  std::shared_ptr<const internal::Corpus> corpus();

  const std::shared_ptr<storage::Repository> repository_;
  const QueryEmbedder embedder_;
  const std::shared_ptr<RerankClient> decisions_;
  const RetrievalSettings settings_;
  const bool text_tables_only_;
  std::mutex lock_;  // guards corpus_cache_ and makes corpus builds take turns
  std::shared_ptr<const internal::Corpus> corpus_cache_;
};

}  // namespace velmora::workers::retrieval
