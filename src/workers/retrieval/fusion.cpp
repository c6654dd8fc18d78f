// Reciprocal-rank fusion over flat arrays: the entries of all channels are sorted by symbol, so
// that the ones of a symbol stand together in the order of the channels.
#include <algorithm>
#include <limits>
#include <unordered_set>

#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {
namespace {

struct Entry {
  SymbolId id;
  std::uint32_t channel;  // its place among the rankings
  std::int64_t rank;
};

std::int64_t best_rank(const FusedSymbol& symbol) {
  std::int64_t best = std::numeric_limits<std::int64_t>::max();
  for (const auto& [channel, rank] : symbol.ranks) best = std::min(best, rank);
  return best;
}

bool comes_before(const FusedSymbol& left, const FusedSymbol& right) {
  if (left.score != right.score) return left.score > right.score;
  const std::int64_t left_best = best_rank(left);
  const std::int64_t right_best = best_rank(right);
  return left_best != right_best ? left_best < right_best : left.id < right.id;
}

}  // namespace

Ranks ranks_in_order(std::span<const SymbolId> ids) {
  Ranks ranks;
  std::unordered_set<SymbolId> seen;
  for (const SymbolId id : ids) {
    if (seen.insert(id).second) ranks.push_back({id, static_cast<std::int64_t>(seen.size())});
  }
  return ranks;
}

std::vector<FusedSymbol> reciprocal_rank_fusion(
    const ChannelMap<std::span<const RankedSymbol>>& rankings, int k) {
  std::vector<Entry> entries;
  std::uint32_t place = 0;
  for (const auto& [channel, ranks] : rankings) {
    for (const RankedSymbol& ranked : ranks) entries.push_back({ranked.id, place, ranked.rank});
    ++place;
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
    return left.id != right.id ? left.id < right.id : left.channel < right.channel;
  });
  std::vector<FusedSymbol> fused;
  for (const Entry& entry : entries) {
    if (fused.empty() || fused.back().id != entry.id) fused.push_back({entry.id, 0.0, {}});
    fused.back().score += 1.0 / static_cast<double>(k + entry.rank);
    fused.back().ranks.set(rankings.begin()[entry.channel].first, entry.rank);
  }
  std::sort(fused.begin(), fused.end(), comes_before);
  return fused;
}

}  // namespace velmora::workers::retrieval
