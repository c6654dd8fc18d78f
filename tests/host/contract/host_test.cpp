// The program's index, models and clients of servers keep what the headers promise.
#include <chrono>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "support/embedding_server.h"
#include "support/temporary_folder.h"
#include "velmora/contract/embedding_engine.h"
#include "velmora/contract/repository.h"
#include "velmora/contract/rerank_client.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/decision/http_reranker.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/http_engine.h"
#include "velmora/host/index/index.h"

namespace velmora::host::test {
namespace {

using contract::HeldSymbol;
using contract::Holdings;

template <index::VectorKind KIND>
class IndexHost : public contract::RepositoryHost {
 public:
  std::shared_ptr<storage::Repository> repository() override { return index_; }

  Holdings hold(const Holdings& wanted) override {
    const auto next = [&, i = std::size_t{0}]() mutable -> std::optional<index::Symbol> {
      if (i == wanted.symbols.size()) return std::nullopt;
      const HeldSymbol& held = wanted.symbols[i++];
      index::Symbol symbol{held.id,        held.fqn,      held.name,       held.kind,
                           held.language,  held.path,     held.start_line, held.end_line,
                           held.signature, held.docstring};
      if (!held.embedding.empty()) symbol.embeddings = {{wanted.model, held.embedding}};
      return symbol;
    };
    index_->replace(next, KIND);
    return wanted;
  }

 private:
  const TemporaryFolder folder_;
  const std::shared_ptr<index::Index> index_ =
      index::Index::open_or_create(folder_.path() / "index.db");
};
using Float32Index = IndexHost<index::VectorKind::float32>;
using Float16Index = IndexHost<index::VectorKind::float16>;

class BuiltinEngineHost : public contract::EmbeddingEngineHost {
 public:
  std::shared_ptr<engines::EmbeddingEngine> engine() override { return engine_; }
  std::shared_ptr<engines::EmbeddingEngine> engine_without_model() override {
    return std::make_shared<embedding::BuiltinEngine>("no/such.model");
  }

 private:
  const std::shared_ptr<embedding::BuiltinEngine> engine_ =
      std::make_shared<embedding::BuiltinEngine>(embedding::shipped_model_file());
};

// An address at which nobody listens.
std::string closed_url() {
  return HttpServer([](const std::string&) { return ""; }).url();
}

class HttpEngineHost : public contract::EmbeddingEngineHost {
 public:
  std::shared_ptr<engines::EmbeddingEngine> engine() override { return engine_; }
  std::shared_ptr<engines::EmbeddingEngine> engine_without_model() override {
    return engine_of(closed_url());
  }

 private:
  static std::shared_ptr<embedding::HttpEngine> engine_of(std::string url) {
    return std::make_shared<embedding::HttpEngine>(embedding::HttpEngineOptions{
        .url = std::move(url), .model = "m", .deadline = std::chrono::minutes(1)});
  }

  EmbeddingServer server_;
  const std::shared_ptr<embedding::HttpEngine> engine_ = engine_of(server_.url());
};

class BuiltinDecisionHost : public contract::RerankClientHost {
 public:
  std::shared_ptr<engines::RerankClient> client() override { return client_; }
  std::shared_ptr<engines::RerankClient> client_without_model() override {
    return std::make_shared<decision::BuiltinDecision>("no/such.decision", words_);
  }

 private:
  const std::shared_ptr<embedding::BuiltinEngine> words_ =
      std::make_shared<embedding::BuiltinEngine>(embedding::shipped_model_file());
  const std::shared_ptr<decision::BuiltinDecision> client_ =
      std::make_shared<decision::BuiltinDecision>(decision::shipped_decision_file(), words_);
};

class HttpRerankerHost : public contract::RerankClientHost {
 public:
  std::shared_ptr<engines::RerankClient> client() override { return client_; }
  std::shared_ptr<engines::RerankClient> client_without_model() override {
    return client_of(closed_url());
  }

 private:
  static std::shared_ptr<decision::HttpReranker> client_of(std::string url) {
    return std::make_shared<decision::HttpReranker>(decision::HttpRerankerOptions{
        .url = std::move(url), .model = "m", .deadline = std::chrono::minutes(1)});
  }

  // The longer a document, the better; ends the connection, so that the next one gets its turn.
  static std::string answer(const std::string& request) {
    const auto body = nlohmann::json::parse(request.substr(request.find("\r\n\r\n")));
    nlohmann::json results = nlohmann::json::array();
    for (const auto& document : body.at("documents")) {
      results.push_back(
          {{"index", results.size()}, {"relevance_score", document.get<std::string>().size()}});
    }
    return HttpServer::response(nlohmann::json{{"results", std::move(results)}}.dump(),
                                "200 OK\r\nConnection: close");
  }

  HttpServer server_{answer};
  const std::shared_ptr<decision::HttpReranker> client_ = client_of(server_.url());
};

}  // namespace
}  // namespace velmora::host::test

namespace velmora::contract {
namespace {

using namespace host::test;

INSTANTIATE_TYPED_TEST_SUITE_P(Float32Index, RepositoryContract, Float32Index);
INSTANTIATE_TYPED_TEST_SUITE_P(Float16Index, RepositoryContract, Float16Index);
INSTANTIATE_TYPED_TEST_SUITE_P(BuiltinEngine, EmbeddingEngineContract, BuiltinEngineHost);
INSTANTIATE_TYPED_TEST_SUITE_P(HttpEngine, EmbeddingEngineContract, HttpEngineHost);
INSTANTIATE_TYPED_TEST_SUITE_P(BuiltinDecision, RerankClientContract, BuiltinDecisionHost);
INSTANTIATE_TYPED_TEST_SUITE_P(HttpReranker, RerankClientContract, HttpRerankerHost);

}  // namespace
}  // namespace velmora::contract
