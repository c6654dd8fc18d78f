// The spine: what happens to a question, one line a step.
#include <algorithm>
#include <stdexcept>
#include <utility>

#include "velmora/workers/retrieval.h"
#include "workers/retrieval/admission.h"
#include "workers/retrieval/channel_note.h"
#include "workers/retrieval/corpus.h"
#include "workers/retrieval/exact_channel.h"
#include "workers/retrieval/records.h"
#include "workers/retrieval/rerank.h"
#include "workers/retrieval/semantic_channel.h"
#include "workers/retrieval/text_channels.h"

namespace velmora::workers::retrieval {
namespace {

using internal::Channel;

// The fused ranking, with the pinned symbols moved in front in their fused order.
std::vector<FusedSymbol> fused(const ChannelMap<Channel>& channels, int rrf_k,
                               const internal::ExactNames& exact) {
  ChannelMap<std::span<const RankedSymbol>> rankings;
  for (const auto& [name, channel] : channels) rankings.set(name, channel.ranks);
  std::vector<FusedSymbol> ordered = reciprocal_rank_fusion(rankings, rrf_k);
  std::stable_partition(ordered.begin(), ordered.end(),
                        [&](const FusedSymbol& symbol) { return exact.is_pinned(symbol.id); });
  return ordered;
}

std::vector<Hit> first_hits(const internal::Corpus& corpus, std::span<const FusedSymbol> ordered,
                            std::int64_t count) {
  std::vector<Hit> hits;
  for (const FusedSymbol& symbol : ordered) {
    if (static_cast<std::int64_t>(hits.size()) == count) break;
    hits.push_back({corpus.symbol(symbol.id), symbol.score, symbol.ranks});
  }
  return hits;
}

ChannelMap<std::string_view> statuses(const ChannelMap<Channel>& channels) {
  ChannelMap<std::string_view> words;
  for (const auto& [name, channel] : channels) words.set(name, channel.status);
  return words;
}

// The notes that are there, joined by a space; absent when none is.
std::optional<std::string> joined(std::optional<std::string> first,
                                  const std::optional<std::string>& second) {
  if (!second || second->empty()) return first;
  return first ? *first + " " + *second : second;
}

}  // namespace

HybridRetriever::HybridRetriever(std::shared_ptr<storage::Repository> repository,
                                 RetrieverOptions options)
    : repository_(std::move(repository)),
      embedder_(std::move(options.embedder)),
      decisions_(std::move(options.decisions)),
      settings_(std::move(options.settings).value_or(RetrievalSettings{})),
      text_tables_only_(options.text_tables_only) {}

HybridRetriever::~HybridRetriever() = default;

RetrievalResult HybridRetriever::retrieve(std::string_view query, RetrieveOptions options) {
  const std::int64_t limit = options.limit;
  if (limit < 1) {
    throw std::invalid_argument("limit must be at least 1, not " + std::to_string(limit));
  }
  const std::vector<std::string> terms = query_terms(query);
  const bool tests_allowed = options.include_tests.value_or(is_test_query(terms));
  const std::shared_ptr<const internal::Corpus> corpus = this->corpus();
  const internal::Admission admit(corpus, tests_allowed, internal::normalize_scope(options.scope));
  const std::int64_t depth = std::max<std::int64_t>(settings_.depth, limit);

  const internal::ExactNames exact = internal::exact_names(*corpus, query, admit, depth);
  ChannelMap<Channel> channels;
  channels.set(EXACT, {.ranks = ranks_in_order(exact.ids)});
  const internal::TextChannels text(*corpus, terms);
  channels.set(LEXICAL, text.lexical(admit, depth));
  channels.set(FILE, text.file(admit, settings_.best_files));
  channels.set(SEMANTIC,
               internal::semantic_channel(*repository_, embedder_, settings_, query, admit, depth));

  const std::vector<FusedSymbol> ordered = fused(channels, settings_.rrf_k, exact);
  const bool reranking = options.rerank && internal::rerank_allowed(decisions_);
  internal::Reranked answer = {
      first_hits(*corpus, ordered, reranking ? limit + RERANK_DEPTH : limit), std::nullopt};
  if (reranking) {
    answer = internal::reranked(*decisions_, *repository_, query, std::move(answer.hits), exact);
  }
  if (static_cast<std::int64_t>(answer.hits.size()) > limit) {
    answer.hits.erase(answer.hits.begin() + limit, answer.hits.end());
  }
  return {std::move(answer.hits), statuses(channels),
          joined(internal::channel_note(channels), answer.note)};
}

// The corpus of the index as it is now. The fingerprint is read before the lock is taken, so that
// questions on an unchanged index wait for one another no longer than a comparison takes.
std::shared_ptr<const internal::Corpus> HybridRetriever::corpus() {
  const storage::IndexFingerprint fingerprint = repository_->retrieval_fingerprint();
  std::shared_ptr<const internal::Corpus> replaced;  // let go of after the lock: it takes a while
  const std::lock_guard guard(lock_);
  if (!corpus_cache_ || corpus_cache_->fingerprint != fingerprint) {
    replaced = std::exchange(corpus_cache_, internal::build_corpus(*repository_, fingerprint,
                                                                   settings_, text_tables_only_));
  }
  return corpus_cache_;
}

}  // namespace velmora::workers::retrieval
