#include "agent/repositories.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "agent/arguments.h"
#include "browse/limited_text.h"
#include "settings/settings.h"
#include "text/printable.h"
#include "upkeep/index_place.h"

namespace velmora::host::agent {
namespace {

namespace fs = std::filesystem;
using workers::retrieval::HybridRetriever;

std::string list_of(const std::vector<std::unique_ptr<Repository>>& all) {
  std::string list;
  for (const auto& one : all) list += "\n  " + text::printable_line(one->root().string());
  return list;
}

// Whether the last parts of `root` are those of `name`.
bool ends_with(const fs::path& root, const fs::path& name) {
  auto part = root.end();
  for (auto wanted = name.end(); wanted != name.begin();) {
    --wanted;
    if (wanted->empty()) continue;  // a slash at the end
    if (part == root.begin() || *--part != *wanted) return false;
  }
  return !name.empty();
}

bool is_meant(const fs::path& root, const fs::path& name) {
  if (!name.is_absolute()) return ends_with(root, name);
  std::error_code unknown;  // then it is taken as it is written
  const fs::path real = fs::weakly_canonical(name, unknown);
  return is_within(name.lexically_normal(), root) || (!unknown && is_within(real, root));
}

}  // namespace

bool is_within(const fs::path& path, const fs::path& folder) {
  const auto [in_folder, in_path] =
      std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return in_folder == folder.end();
}

Repository::Repository(fs::path root, RepositoryOptions options)
    : root_(std::move(root)), options_(std::move(options)) {}

void Repository::keep() {
  std::call_once(kept_once_, [&] {
    upkeep::KeptOptions options{.consent = options_.consent};
    if (options_.model) {
      options.model = [this] { return options_.model(upkeep::index_of_repository(root_)); };
    }
    kept_ = std::make_unique<upkeep::KeptIndex>(root_, std::move(options));
  });
}

upkeep::KeptState Repository::wait(std::chrono::milliseconds longest,
                                   const upkeep::Meanwhile& meanwhile) {
  keep();
  return kept_->wait(longest, meanwhile);
}

browse::Answer Repository::answer(const std::shared_ptr<index::Index>& index,
                                  std::string_view question,
                                  const workers::retrieval::RetrieveOptions& options) {
  const std::shared_ptr<HybridRetriever> retriever = retriever_of(index);
  return browse::Answerer(index, *retriever, root_, {}).answer(question, options);
}

std::shared_ptr<HybridRetriever> Repository::retriever_of(
    const std::shared_ptr<index::Index>& index) {
  std::call_once(engine_once_, [&] {
    std::shared_ptr<engines::EmbeddingEngine> engine;
    if (options_.engine) engine = options_.engine(upkeep::index_of_repository(root_));
    if (options_.decisions) decisions_ = options_.decisions(engine);
    if (engine) embedder_ = workers::retrieval::engine_query_embedder(std::move(engine));
  });
  const workers::retrieval::RetrievalSettings ranking = settings::retrieval_settings(root_);
  const std::lock_guard lock(mutex_);
  if (asked_.index != index || asked_.ranking != ranking) {
    asked_.retriever = std::make_shared<HybridRetriever>(
        index, workers::retrieval::RetrieverOptions{
                   .embedder = embedder_, .settings = ranking, .decisions = decisions_});
    asked_.index = index;
    asked_.ranking = ranking;
  }
  return asked_.retriever;
}

Repositories::Repositories(const std::vector<fs::path>& roots, const RepositoryOptions& options) {
  for (const fs::path& root : roots) {
    const bool is_there =
        std::ranges::any_of(all_, [&](const auto& one) { return one->root() == root; });
    if (!is_there) all_.push_back(std::make_unique<Repository>(root, options));
  }
}

void Repositories::keep() {
  for (const auto& one : all_) one->keep();
}

Repository& Repositories::pick(const std::optional<std::string>& name) const {
  if (!name || name->empty() || *name == ".") {
    if (all_.size() == 1) return *all_.front();
    throw ToolError("The server has several repositories: say which by \"repo\"." + list_of(all_));
  }
  std::vector<Repository*> meant;
  for (const auto& one : all_) {
    if (is_meant(one->root(), *name)) meant.push_back(one.get());
  }
  // A repository may stand in another: the inner one is meant.
  const auto length = [](const Repository* one) { return one->root().native().size(); };
  if (fs::path(*name).is_absolute() && meant.size() > 1) {
    return **std::ranges::max_element(meant, {}, length);
  }
  if (meant.size() == 1) return *meant.front();
  const std::string shown = browse::one_line(*name, 200);
  if (meant.empty()) {
    throw ToolError(shown + " is outside of the repositories that the server was started with:" +
                    list_of(all_) + "\nAnother one needs velmora mcp --repo DIR.");
  }
  throw ToolError("Several repositories are called " + shown + ": say which by its path." +
                  list_of(all_));
}

}  // namespace velmora::host::agent
