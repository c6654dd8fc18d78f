// The example's host in memory as the contract tests take it.
#pragma once

#include <cmath>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include "memory_host.h"
#include "velmora/contract/embedding_engine.h"
#include "velmora/contract/repository.h"
#include "velmora/contract/rerank_client.h"

namespace velmora::testing {

class MemoryIndexHost : public contract::RepositoryHost {
 public:
  std::shared_ptr<storage::Repository> repository() override { return index_; }

  contract::Holdings hold(const contract::Holdings& wanted) override {
    std::vector<Symbol> symbols;
    Embeddings embeddings;
    for (const contract::HeldSymbol& held : wanted.symbols) {
      symbols.push_back({held.id, held.fqn, held.name, held.kind, held.language, held.path,
                         held.start_line, held.end_line, held.signature, held.docstring});
      if (!held.embedding.empty()) embeddings[held.id] = of_length_one(held.embedding);
    }
    index_->replace(std::move(symbols), wanted.model, std::move(embeddings));
    return wanted;
  }

 private:
  static std::vector<float> of_length_one(std::vector<float> vector) {
    float square = 0.0F;
    for (const float number : vector) square += number * number;
    for (float& number : vector) number /= std::sqrt(square);
    return vector;
  }

  const std::shared_ptr<MemoryIndex> index_ = std::make_shared<MemoryIndex>();
};

class ConceptModelHost : public contract::EmbeddingEngineHost {
 public:
  std::shared_ptr<engines::EmbeddingEngine> engine() override { return engine_; }

  std::shared_ptr<engines::EmbeddingEngine> engine_without_model() override {
    return std::make_shared<LoadedElsewhere>(never_.get_future().share());
  }

 private:
  static std::shared_future<Model> loaded() {
    std::promise<Model> model;
    model.set_value(std::make_shared<ConceptModel>());
    return model.get_future().share();
  }

  std::promise<Model> never_;
  const std::shared_ptr<LoadedElsewhere> engine_ = std::make_shared<LoadedElsewhere>(loaded());
};

class WordJudgeHost : public contract::RerankClientHost {
 public:
  std::shared_ptr<engines::RerankClient> client() override { return judge_; }

  std::shared_ptr<engines::RerankClient> client_without_model() override {
    auto judge = std::make_shared<WordJudge>();
    judge->reachable = false;
    return judge;
  }

 private:
  const std::shared_ptr<WordJudge> judge_ = std::make_shared<WordJudge>();
};

}  // namespace velmora::testing
