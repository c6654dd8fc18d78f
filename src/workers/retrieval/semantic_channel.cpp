#include "workers/retrieval/semantic_channel.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "utils/unicode.h"

namespace velmora::workers::retrieval {
namespace internal {
namespace {

// The factor by which the search widens.
constexpr std::int64_t WIDENING = 4;

// Logs the error that is being handled.
Channel failed(std::string_view warning, std::string problem) {
  logger.log(
      logging::Level::warning, [&] { return warning; }, std::current_exception());
  return {{}, FAILED, std::move(problem)};
}

Channel nearest(storage::Repository& repository, const RetrievalSettings& settings,
                const QueryVector& vector, const Admission& admit, std::int64_t depth) {
  std::int64_t searched = std::max<std::int64_t>(settings.semantic_shortlist, depth);
  const std::int64_t ceiling = std::max<std::int64_t>(settings.semantic_max_neighbours, searched);
  std::vector<SymbolId> admitted;
  for (;; searched = std::min(searched * WIDENING, ceiling)) {
    const std::vector<storage::NearestPair> pairs =
        repository.nearest_symbol_ids(vector.values, vector.model, {.top_k = searched});
    if (pairs.empty()) {
      return {{}, UNAVAILABLE, "the index has no symbol embeddings of " + vector.model};
    }
    admitted.clear();
    for (const storage::NearestPair& pair : pairs) {
      if (admit(pair.id)) admitted.push_back(pair.id);
    }
    const bool whole_store = static_cast<std::int64_t>(pairs.size()) < searched;
    if (whole_store || static_cast<std::int64_t>(admitted.size()) >= depth) break;
    if (searched >= ceiling) {
      return {ranks_in_order(admitted), PARTIAL,
              "meaning searched only the " + std::to_string(searched) + " nearest embeddings, " +
                  std::to_string(admitted.size()) + " of them in scope"};
    }
  }
  if (admitted.empty()) {
    return {{}, UNAVAILABLE, "no symbol in scope has an embedding of " + vector.model};
  }
  const auto count = std::min<std::int64_t>(depth, static_cast<std::int64_t>(admitted.size()));
  return {.ranks = ranks_in_order(std::span(admitted).first(static_cast<std::size_t>(count)))};
}

}  // namespace

Channel semantic_channel(storage::Repository& repository, const QueryEmbedder& embedder,
                         const RetrievalSettings& settings, std::string_view query,
                         const Admission& admit, std::int64_t depth) {
  if (!embedder) return {{}, UNAVAILABLE, "no embedding model is configured"};
  QueryVector vector;
  try {
    vector = embedder(query);
  } catch (const TryAgainLaterError& error) {
    return {{}, UNAVAILABLE, utils::lowercase_first(error.what())};
  } catch (const std::exception&) {
    return failed("Embedding the query failed; ranking without meaning",
                  "embedding the query failed (see the log)");
  }
  try {
    return nearest(repository, settings, vector, admit, depth);
  } catch (const std::exception&) {
    return failed("The embedding search failed; ranking without meaning",
                  "the embedding search failed (see the log)");
  }
}

}  // namespace internal

QueryEmbedder engine_query_embedder(std::shared_ptr<engines::EmbeddingEngine> engine) {
  return [engine = std::move(engine)](std::string_view query) {
    const std::shared_ptr<engines::EmbeddingBackend> backend =
        engine->wait_ready(std::chrono::milliseconds::zero());
    std::vector<std::vector<float>> vectors = backend->embed(std::array{query});
    return QueryVector{std::move(vectors.at(0)), std::string(backend->name())};
  };
}

}  // namespace velmora::workers::retrieval
