#include "workers/retrieval/rerank.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "utils/unicode.h"
#include "velmora/engines/decision.h"
#include "velmora/engines/decision_text.h"

namespace velmora::workers::retrieval::internal {
namespace {

using engines::DecisionError;

// What the model is shown of the hits, one line each.
std::vector<std::string> rerank_lines(RerankClient& decisions, storage::Repository& repository,
                                      std::span<const Hit* const> hits) {
  const bool consent = engines::source_consented(decisions);
  std::vector<SymbolId> ids;
  for (const Hit* hit : hits) ids.push_back(hit->symbol.id);
  const auto found = repository.get_symbols_by_ids(ids);
  std::vector<std::string> lines;
  for (const Hit* hit : hits) {
    const RetrievedSymbol& symbol = hit->symbol;
    const auto stored = found.find(symbol.id);
    std::optional<std::string_view> docstring;
    if (stored != found.end()) docstring = stored->second.docstring;
    lines.push_back(engines::candidate_line(symbol.fqn, symbol.kind, docstring, symbol.signature,
                                            consent, {.path = symbol.path}));
  }
  return lines;
}

// The model's order of the hits, as positions among them.
std::vector<std::size_t> decided_order(RerankClient& decisions, storage::Repository& repository,
                                       std::string_view query, std::span<const Hit* const> hits) {
  const auto [state, questions] =
      engines::rerank_request(query, rerank_lines(decisions, repository, hits));
  const engines::DecisionResult answer =
      decisions.decide(state, questions, {.question_version = engines::RERANK_QUESTION_VERSION});
  return engines::rerank_order(answer, hits.size());
}

}  // namespace

bool rerank_allowed(const std::shared_ptr<RerankClient>& decisions) {
  return decisions && decisions->feature_enabled(RERANK_FEATURE);
}

Reranked reranked(RerankClient& decisions, storage::Repository& repository, std::string_view query,
                  std::vector<Hit> hits, const ExactNames& exact) {
  std::vector<const Hit*> kept;
  std::vector<const Hit*> movable;
  for (const Hit& hit : hits) (exact.is_pinned(hit.symbol.id) ? kept : movable).push_back(&hit);
  const std::size_t depth = std::min<std::size_t>(movable.size(), RERANK_DEPTH);
  const std::span<const Hit* const> head = std::span(movable).first(depth);
  if (head.size() < 2) return {std::move(hits), std::nullopt};

  std::vector<std::size_t> order;
  try {
    order = decided_order(decisions, repository, query, head);
  } catch (const DecisionError& error) {
    logger.log(logging::Level::warning, [&] {
      return "The rerank of " + utils::quoted_literal(query) +
             " kept the retriever's order: " + error.what();
    });
    return {std::move(hits), std::string(RERANK_FAILED)};
  } catch (const std::exception&) {
    logger.log(
        logging::Level::warning,
        [&] { return "The rerank of " + utils::quoted_literal(query) + " failed"; },
        std::current_exception());
    return {std::move(hits), std::string(RERANK_FAILED)};
  }

  Reranked result;
  const auto append = [&](const Hit* hit) { result.hits.push_back(*hit); };
  std::for_each(kept.begin(), kept.end(), append);
  for (const std::size_t position : order) append(head[position]);
  std::for_each(movable.begin() + static_cast<std::ptrdiff_t>(depth), movable.end(), append);
  return result;
}

}  // namespace velmora::workers::retrieval::internal
