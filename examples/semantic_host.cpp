// A host with an embedding model and a decision model of its own, whole and small: an index of
// three symbols in memory, a model that counts letters, and a client that prefers short names.
//
//   semantic_host "read settings"
#include <velmora/engines/decision.h>
#include <velmora/engines/embedding.h>
#include <velmora/storage/repository_retrieval.h>
#include <velmora/workers/retrieval.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace engines = velmora::engines;
namespace retrieval = velmora::workers::retrieval;
namespace storage = velmora::storage;

// How often each letter stands in a text, at length one.
std::vector<float> letters(std::string_view text) {
  std::vector<float> counts(26);
  for (const char c : text) {
    if (c >= 'a' && c <= 'z') counts[static_cast<std::size_t>(c - 'a')] += 1.0F;
  }
  float squares = 0.0F;
  for (const float count : counts) squares += count * count;
  if (squares == 0.0F) throw velmora::TryAgainLaterError("The question has no small letter");
  for (float& count : counts) count /= std::sqrt(squares);
  return counts;
}

class LetterBackend : public engines::EmbeddingBackend {
 public:
  std::vector<std::vector<float>> embed(std::span<const std::string_view> texts) override {
    std::vector<std::vector<float>> vectors;
    for (const std::string_view text : texts) vectors.push_back(letters(text));
    return vectors;
  }
  std::string_view name() const override { return "letters-1"; }
};

// A model that needs no loading is always ready. One that loads would throw
// EmbeddingNotReadyError("The embedding model is still loading") until it is.
class LetterEngine : public engines::EmbeddingEngine {
 public:
  std::shared_ptr<engines::EmbeddingBackend> wait_ready(std::chrono::milliseconds) override {
    return backend_;
  }

 private:
  const std::shared_ptr<LetterBackend> backend_ = std::make_shared<LetterBackend>();
};

class SmallRepository : public storage::Repository {
 public:
  // This index never changes, so its fingerprint never does.
  storage::IndexFingerprint retrieval_fingerprint() override { return {"1"}; }

  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view>, std::span<const std::string_view>) override {
    return std::make_unique<Cursor>(rows_);
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float> values,
                                                       std::string_view model,
                                                       storage::NearestOptions options) override {
    std::vector<storage::NearestPair> pairs;
    if (model != "letters-1") return pairs;  // no vectors of another model are stored
    for (const storage::SymbolRow& row : rows_) {
      const std::vector<float> stored = letters(row.name);
      double cosine = 0.0;
      for (std::size_t i = 0; i < stored.size(); ++i)
        cosine += double{values[i]} * double{stored[i]};
      pairs.push_back({row.id, cosine});
    }
    // Equal ones by lower id, so that the same question has the same answer.
    std::sort(pairs.begin(), pairs.end(), [](const auto& left, const auto& right) {
      return left.similarity != right.similarity ? left.similarity > right.similarity
                                                 : left.id < right.id;
    });
    if (static_cast<std::int64_t>(pairs.size()) > options.top_k) {
      pairs.resize(static_cast<std::size_t>(options.top_k));
    }
    return pairs;
  }

  std::unordered_map<storage::SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const storage::SymbolId> ids) override {
    std::unordered_map<storage::SymbolId, storage::StoredSymbol> found;
    for (const storage::SymbolRow& row : rows_) {
      if (std::find(ids.begin(), ids.end(), row.id) == ids.end()) continue;
      if (row.docstring) found[row.id].docstring = std::string(*row.docstring);
    }
    return found;
  }

 private:
  class Cursor : public storage::SymbolCursor {
   public:
    explicit Cursor(const std::vector<storage::SymbolRow>& rows) : rows_(rows) {}
    const storage::SymbolRow* next() override {
      return next_ == rows_.size() ? nullptr : &rows_[next_++];
    }

   private:
    const std::vector<storage::SymbolRow>& rows_;
    std::size_t next_ = 0;
  };

  const std::vector<storage::SymbolRow> rows_ = {
      {1, "app.read_settings", "read_settings", "function", "src/settings.py", 10, 24,
       "read_settings(path)", "Reads the settings of a file."},
      {2, "app.load", "load", "function", "src/load.py", 1, 9, "load()", "Loads the settings."},
      {3, "app.main", "main", "function", "src/main.py", 1, 9, "main()", std::nullopt}};
};

// A decision client asks a model whether each candidate answers the question, and gives back a
// probability for each of the questions' keys. It ends within 3 seconds, whatever happens, and
// throws DecisionError when it has no answer.
class ShortLinesFirst : public engines::DecisionClient {
 public:
  bool feature_enabled(std::string_view name) override { return name == retrieval::RERANK_FEATURE; }
  bool source_consent() override { return false; }  // the model sees names and paths only

  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions&,
                                 engines::DecideOptions) override {
    engines::DecisionResult result;
    for (std::size_t i = 0; i < state.candidates.size(); ++i) {
      const auto length = static_cast<double>(state.candidates[i].size());
      result.probabilities["candidate_" + std::to_string(i + 1)] = 1.0 / (1.0 + length);
    }
    return result;
  }
};

int main(int argc, char** argv) {
  retrieval::HybridRetriever retriever(
      std::make_shared<SmallRepository>(),
      {.embedder = retrieval::engine_query_embedder(std::make_shared<LetterEngine>()),
       .decisions = std::make_shared<ShortLinesFirst>()});
  const auto answer =
      retriever.retrieve(argc > 1 ? argv[1] : "read settings", {.limit = 3, .rerank = true});
  for (const auto& [symbol, score, ranks] : answer.hits) {
    std::cout << symbol.path << ':' << symbol.start_line << ' ' << symbol.fqn << '\n';
  }
  if (answer.note) std::cout << *answer.note << '\n';
}
