#include "cli/rerank_options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <utility>

#include "decision/shipped_decision.h"
#include "velmora/host/decision/http_reranker.h"

namespace velmora::host::cli {

void add_rerank_options(CLI::App& command, RerankOptions& options) {
  command.add_flag("--no-rerank", options.none, "Keep the order of the ranking")->group("Meaning");
  command
      .add_option("--rerank-url", options.url,
                  "Reorder the first hits by POST URL/rerank, with the key in"
                  " VELMORA_RERANK_API_KEY")
      ->type_name("URL");
  command.add_option("--rerank-model", options.model, "The model that reranks")->type_name("NAME");
  command.add_flag("--share-source", options.share_source,
                   "Show the rerank server signatures and docstrings too");
}

void require_whole_rerank(const RerankOptions& options) {
  if (options.none || options.url.empty() == options.model.empty()) return;
  throw CLI::ValidationError(
      options.url.empty() ? "the rerank model " + options.model +
                                " needs its server: --rerank-url URL, or VELMORA_RERANK_URL"
                          : "the rerank server " + options.url +
                                " needs a model: --rerank-model NAME, or VELMORA_RERANK_MODEL");
}

std::shared_ptr<engines::RerankClient> rerank_client(
    const RerankOptions& options, const std::shared_ptr<engines::EmbeddingEngine>& engine,
    decision::DecisionObserver observer) {
  if (options.none) return nullptr;
  if (options.url.empty()) {
    if (!engine) return nullptr;
    return decision::shipped_decision(engine, std::move(observer));
  }
  const char* const key = std::getenv("VELMORA_RERANK_API_KEY");
  return std::make_shared<decision::HttpReranker>(
      decision::HttpRerankerOptions{.url = options.url,
                                    .model = options.model,
                                    .api_key = key == nullptr ? "" : key,
                                    .share_source = options.share_source});
}

}  // namespace velmora::host::cli
