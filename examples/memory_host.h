// The parts of a whole host in memory: an index that changes, an embedding model that takes its
// time to load, and a decision model that reorders the hits. Small stand-ins take the place of real
// models.
#pragma once

#include <velmora/engines/decision.h>
#include <velmora/engines/embedding.h>
#include <velmora/workers/retrieval.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace engines = velmora::engines;
namespace retrieval = velmora::workers::retrieval;
namespace storage = velmora::storage;
using storage::SymbolId;

// --- The index

struct Symbol {
  SymbolId id = 0;
  std::string fqn, name, kind, language, path;
  std::int64_t start_line = 0, end_line = 0;
  std::optional<std::string> signature, docstring;
};

using Embeddings = std::unordered_map<SymbolId, std::vector<float>>;  // of length 1

// What the index holds at one time. It never changes, so whoever holds it reads it without a lock.
struct State {
  std::string fingerprint;
  std::vector<Symbol> symbols;
  std::string model;
  Embeddings embeddings;
};

class MemoryIndex final : public storage::Repository {
 public:
  // Holds these symbols from now on, with the embeddings that `model` gave them.
  void replace(std::vector<Symbol> symbols, std::string_view model, Embeddings embeddings) {
    const std::lock_guard guard(lock_);
    state_ = std::make_shared<const State>(State{std::to_string(++changes_), std::move(symbols),
                                                 std::string(model), std::move(embeddings)});
  }

  storage::IndexFingerprint retrieval_fingerprint() override { return {state()->fingerprint}; }

  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override {
    return std::make_unique<Cursor>(state(), languages, kinds);
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float> values,
                                                       std::string_view model,
                                                       storage::NearestOptions options) override {
    const auto now = state();
    if (model != now->model) return {};
    std::vector<storage::NearestPair> pairs;
    for (const auto& [id, embedding] : now->embeddings) {
      pairs.push_back({id, cosine(values, embedding)});
    }
    // Equal ones by id: the same question has the same answer.
    std::sort(pairs.begin(), pairs.end(), [](const auto& left, const auto& right) {
      return std::pair(-left.similarity, left.id) < std::pair(-right.similarity, right.id);
    });
    const auto most = static_cast<std::size_t>(options.top_k);
    if (pairs.size() > most) pairs.resize(most);
    return pairs;
  }

  std::unordered_map<SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const SymbolId> ids) override {
    const auto now = state();
    std::unordered_map<SymbolId, storage::StoredSymbol> found;
    for (const Symbol& symbol : now->symbols) {
      if (contains(ids, symbol.id)) found[symbol.id] = {symbol.docstring};
    }
    return found;
  }

 private:
  template <class Value>
  static bool contains(std::span<const Value> values, const auto& value) {
    return std::find(values.begin(), values.end(), value) != values.end();
  }

  static double cosine(std::span<const float> values, std::span<const float> embedding) {
    if (values.size() != embedding.size()) {
      throw std::invalid_argument("The model gave vectors of different lengths");
    }
    double product = 0.0, square = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      product += static_cast<double>(values[i]) * static_cast<double>(embedding[i]);
      square += static_cast<double>(values[i]) * static_cast<double>(values[i]);
    }
    return product / std::sqrt(square);
  }

  // Walks the state that was there when the walk began, whatever happens to the index meanwhile.
  class Cursor final : public storage::SymbolCursor {
   public:
    Cursor(std::shared_ptr<const State> state, std::span<const std::string_view> languages,
           std::span<const std::string_view> kinds)
        : state_(std::move(state)), languages_(languages), kinds_(kinds) {}

    const storage::SymbolRow* next() override {
      while (position_ < state_->symbols.size()) {
        const Symbol& symbol = state_->symbols[position_++];
        if (!contains(languages_, symbol.language) || !contains(kinds_, symbol.kind)) continue;
        row_ = {symbol.id,         symbol.fqn,      symbol.name,      symbol.kind,     symbol.path,
                symbol.start_line, symbol.end_line, symbol.signature, symbol.docstring};
        return &row_;
      }
      return nullptr;
    }

   private:
    const std::shared_ptr<const State> state_;
    const std::span<const std::string_view> languages_, kinds_;
    std::size_t position_ = 0;
    storage::SymbolRow row_;
  };

  [[nodiscard]] std::shared_ptr<const State> state() const {
    const std::lock_guard guard(lock_);
    return state_;
  }

  mutable std::mutex lock_;
  std::shared_ptr<const State> state_ = std::make_shared<const State>();
  int changes_ = 0;
};

// --- The embedding model

// Knows three concepts. A text's vector counts the words of each.
class ConceptModel final : public engines::EmbeddingBackend {
 public:
  std::vector<std::vector<float>> embed(std::span<const std::string_view> texts) override {
    static constexpr std::array<std::array<std::string_view, 4>, 3> CONCEPTS = {{
        {"again", "attempt", "backoff", "retry"},
        {"bytes", "file", "load", "read"},
        {"port", "server", "socket", "url"},
    }};
    std::vector<std::vector<float>> vectors;
    for (const std::string_view text : texts) {
      std::vector<float> counts;
      const std::vector<std::string> words = retrieval::split_identifier(text);
      for (const auto& concept_words : CONCEPTS) {
        counts.push_back(static_cast<float>(
            std::count_if(words.begin(), words.end(), [&](const std::string& word) {
              return std::find(concept_words.begin(), concept_words.end(), word) !=
                     concept_words.end();
            })));
      }
      // Without a word that it knows, a text has no direction: no similarity can be computed.
      const float length = std::hypot(counts[0], counts[1], counts[2]);
      if (length == 0.0F) throw std::runtime_error("The model knows no word of this text");
      for (float& count : counts) count /= length;
      vectors.push_back(std::move(counts));
    }
    return vectors;
  }

  [[nodiscard]] std::string_view name() const override { return "concepts-1"; }
};

using Model = std::shared_ptr<engines::EmbeddingBackend>;

// Hands out a model that some thread of the host loads.
class LoadedElsewhere final : public engines::EmbeddingEngine {
 public:
  explicit LoadedElsewhere(std::shared_future<Model> model) : model_(std::move(model)) {}

  Model wait_ready(std::chrono::milliseconds longest) override {
    const std::shared_future<Model> model = model_;  // each thread asks through one of its own
    if (model.wait_for(longest) != std::future_status::ready) {
      throw engines::EmbeddingNotReadyError("The embedding model is still loading");
    }
    return model.get();
  }

 private:
  const std::shared_future<Model> model_;
};

inline Embeddings embeddings_of(ConceptModel& model, const std::vector<Symbol>& symbols) {
  Embeddings embeddings;
  for (const Symbol& symbol : symbols) {
    const std::string text = symbol.name + " " + symbol.docstring.value_or("");
    try {
      embeddings[symbol.id] = model.embed(std::array<std::string_view, 1>{text})[0];
    } catch (const std::runtime_error&) {
      // A symbol without an embedding is found by its name and its text.
    }
  }
  return embeddings;
}

// --- The decision model

// Takes for the probability of a yes how much of the question a candidate's line repeats.
class WordJudge final : public engines::DecisionClient {
 public:
  std::atomic<bool> reachable = true;

  bool feature_enabled(std::string_view name) override { return name == retrieval::RERANK_FEATURE; }

  // This model runs here, so it may see everything.
  bool source_consent() override { return true; }

  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions) override {
    if (!reachable) throw engines::DecisionError("The decision model cannot be reached");
    const std::vector<std::string> terms = retrieval::query_terms(state.question);
    if (terms.empty()) throw engines::DecisionError("The question has no word to judge by");
    engines::DecisionResult result;
    for (std::size_t i = 0; i < state.candidates.size(); ++i) {
      const std::string key = engines::question_key(i);
      if (!questions.contains(key)) throw engines::DecisionError("No question is about " + key);
      const std::vector<std::string> words = retrieval::split_identifier(state.candidates[i]);
      const auto repeated = std::count_if(terms.begin(), terms.end(), [&](const auto& term) {
        return std::find(words.begin(), words.end(), term) != words.end();
      });
      result.probabilities[key] = static_cast<double>(repeated) / static_cast<double>(terms.size());
    }
    if (result.probabilities.size() != questions.size()) {
      throw engines::DecisionError("A question is about no candidate");
    }
    return result;
  }
};
