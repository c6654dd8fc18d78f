// The repositories that an agent's server was started with.
//
// Any thread may call everything here but the constructors and destructors.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "browse/answer.h"
#include "upkeep/kept_index.h"
#include "velmora/engines/embedding.h"
#include "velmora/engines/rerank_client.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/index.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::agent {

// How repositories are kept and asked.
struct RepositoryOptions {
  // The model that embeds the symbols of the index at a file, or null; as upkeep::KeptOptions has
  // it.
  std::function<std::shared_ptr<const embedding::WordModel>(const std::filesystem::path&)> model =
      {};
  // The engine that embeds questions to it, or null; called by the first question.
  std::function<std::shared_ptr<engines::EmbeddingEngine>(const std::filesystem::path&)> engine =
      {};
  // The client that reorders hits, given that engine; null: none. Called by the first question.
  std::function<std::shared_ptr<engines::RerankClient>(
      const std::shared_ptr<engines::EmbeddingEngine>&)>
      decisions = {};
  bool consent = false;  // as upkeep::MakeOptions has it
};

class Repository {
 public:
  // `root` is absolute and without links. Opens and starts nothing.
  Repository(std::filesystem::path root, RepositoryOptions options);

  [[nodiscard]] const std::filesystem::path& root() const { return root_; }

  // Begins to make its index, and to keep it up to date, unless that goes on already.
  void keep();

  // As KeptIndex has it. Keeps it from then on.
  [[nodiscard]] upkeep::KeptState wait(std::chrono::milliseconds longest,
                                       const upkeep::Meanwhile& meanwhile);

  // Answers a question by its index, which wait() gave, ranking as its settings say now. Throws as
  // browse::Answerer does, and SettingsError.
  [[nodiscard]] browse::Answer answer(const std::shared_ptr<index::Index>& index,
                                      std::string_view question,
                                      const workers::retrieval::RetrieveOptions& options);

 private:
  // What answers by an index, until it is another one or the settings say something else.
  struct Asked {
    std::shared_ptr<index::Index> index = {};
    workers::retrieval::RetrievalSettings ranking = {};
    std::shared_ptr<workers::retrieval::HybridRetriever> retriever = {};
  };

  [[nodiscard]] std::shared_ptr<workers::retrieval::HybridRetriever> retriever_of(
      const std::shared_ptr<index::Index>& index);

  const std::filesystem::path root_;
  const RepositoryOptions options_;
  std::once_flag kept_once_, engine_once_;
  std::unique_ptr<upkeep::KeptIndex> kept_;
  workers::retrieval::QueryEmbedder embedder_;
  std::shared_ptr<engines::RerankClient> decisions_;
  std::mutex mutex_;
  Asked asked_;  // guarded by it
};

class Repositories {
 public:
  // `roots` are at least one, each absolute and without links; those that are there twice count
  // once.
  Repositories(const std::vector<std::filesystem::path>& roots, const RepositoryOptions& options);

  // Begins to keep all.
  void keep();

  // The one that a client means: by its path or one in it, by its folder's name, or by the last
  // parts of its path. Without a name the only one. Throws ToolError, which lists all.
  [[nodiscard]] Repository& pick(const std::optional<std::string>& name) const;

  [[nodiscard]] const std::vector<std::unique_ptr<Repository>>& all() const { return all_; }

 private:
  std::vector<std::unique_ptr<Repository>> all_;
};

// Whether `path` is `folder` or in it, by their names alone.
[[nodiscard]] bool is_within(const std::filesystem::path& path,
                             const std::filesystem::path& folder);

}  // namespace velmora::host::agent
