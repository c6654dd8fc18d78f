// velmora_retriever_of_index, velmora_retriever_of_repository and velmora_retriever_free.
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "c_interface/arguments.h"
#include "c_interface/decider.h"
#include "c_interface/embedder.h"
#include "c_interface/handles.h"
#include "c_interface/message.h"
#include "c_interface/repository.h"
#include "c_interface/settings.h"
#include "decision/shipped_decision.h"
#include "embedding/index_model.h"
#include "settings/settings.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/logging.h"

namespace velmora::host::c_interface {
namespace {

namespace fs = std::filesystem;
using workers::retrieval::RetrieverOptions;

constexpr logging::Logger LOGGER("velmora.host.retriever");

// What answers questions beside the index, and what of it is the host's.
struct Models {
  RetrieverOptions options = {};
  std::shared_ptr<CallbackEmbedder> embedder = {};
  std::shared_ptr<CallbackDecider> decider = {};

  void take() const noexcept {
    if (embedder) embedder->take();
    if (decider) decider->take();
  }
};

// The built-in model of an index, or of a host's own.
std::shared_ptr<embedding::BuiltinEngine> builtin_engine(const velmora_retriever_options& options,
                                                         const velmora_index* index) {
  const std::optional<fs::path> named = optional_path(options.model, "options->model");
  if (index == nullptr) {
    return std::make_shared<embedding::BuiltinEngine>(
        named.value_or(embedding::shipped_model_file()));
  }
  return embedding::index_engine(named, index->file, [](const std::string& sentence) {
    LOGGER.log(logging::Level::warning, [&] { return sentence; });
  });
}

Models models(const velmora_retriever_options& options, const velmora_index* index) {
  if (options.embedder != nullptr && options.without_embedder) {
    throw std::invalid_argument("options->without_embedder contradicts options->embedder");
  }
  if (options.decider != nullptr && options.without_decider) {
    throw std::invalid_argument("options->without_decider contradicts options->decider");
  }
  Models made;
  std::shared_ptr<engines::EmbeddingEngine> engine;
  if (options.embedder != nullptr) {
    made.embedder = std::make_shared<CallbackEmbedder>(*options.embedder);
    made.options.embedder = [embedder = made.embedder](std::string_view query) {
      return embedder->embed(query);
    };
  } else if (!options.without_embedder) {
    engine = builtin_engine(options, index);
    made.options.embedder = workers::retrieval::engine_query_embedder(engine);
  }
  if (options.decider != nullptr) {
    made.decider = std::make_shared<CallbackDecider>(*options.decider);
    made.options.decisions = made.decider;
  } else if (!options.without_decider && made.options.embedder) {
    made.options.decisions = decision::shipped_decision(engine);
  }
  if (options.settings != nullptr) {
    made.options.settings = settings_of(*options.settings);
  } else if (index != nullptr) {
    made.options.settings = settings::retrieval_settings(index->root);
  }
  return made;
}

std::unique_ptr<velmora_retriever> retriever(std::shared_ptr<storage::Repository> repository,
                                             std::shared_ptr<index::Index> index,
                                             const Models& models) {
  return std::unique_ptr<velmora_retriever>(new velmora_retriever{
      .index = std::move(index),
      .reranks = models.options.decisions != nullptr,
      .retriever = workers::retrieval::HybridRetriever(std::move(repository), models.options)});
}

}  // namespace
}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;

velmora_code velmora_retriever_of_index(velmora_index* index,
                                        const velmora_retriever_options* given,
                                        velmora_retriever** retriever) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(retriever, "retriever") = nullptr;
    c_interface::require(index != nullptr, "index");
    const auto models = c_interface::models(c_interface::taken(given, "options"), index);
    *retriever = c_interface::retriever(index->index, index->index, models).release();
    models.take();
  });
}

velmora_code velmora_retriever_of_repository(const velmora_repository* repository,
                                             const velmora_retriever_options* given,
                                             velmora_retriever** retriever) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(retriever, "retriever") = nullptr;
    c_interface::require(repository != nullptr, "repository");
    const auto own = std::make_shared<c_interface::CallbackRepository>(*repository);
    const auto models = c_interface::models(c_interface::taken(given, "options"), nullptr);
    *retriever = c_interface::retriever(own, nullptr, models).release();
    own->take();
    models.take();
  });
}

void velmora_retriever_free(velmora_retriever* retriever) noexcept { delete retriever; }
