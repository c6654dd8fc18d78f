#include "workers/retrieval/text_channels.h"

#include <vector>

namespace velmora::workers::retrieval::internal {
namespace {

Channel without_tables() { return {{}, UNAVAILABLE, std::string(NO_FTS5)}; }

}  // namespace

Channel lexical_channel(const Corpus& corpus, std::span<const std::string> terms,
                        const Admission& admit, std::int64_t depth) {
  if (!corpus.fts) return without_tables();
  std::vector<SymbolId> ids;
  if (!terms.empty()) {
    for (const SymbolId id : Matching(*corpus.fts, corpus.fts_lock, SYMBOL_TABLE, terms)) {
      if (!admit(id)) continue;
      ids.push_back(id);
      if (static_cast<std::int64_t>(ids.size()) == depth) break;
    }
  }
  return {.ranks = ranks_in_order(ids)};
}

Channel file_channel(const Corpus& corpus, std::span<const std::string> terms,
                     const Admission& admit, int best_files) {
  if (!corpus.fts) return without_tables();
  Channel channel;
  if (terms.empty()) return channel;
  std::int64_t rank = 0;
  for (const std::int64_t row : Matching(*corpus.fts, corpus.fts_lock, FILE_TABLE, terms)) {
    const std::size_t ranked = channel.ranks.size();
    for (const SymbolId id : corpus.files[static_cast<std::size_t>(row - 1)].symbols) {
      if (admit(id)) channel.ranks.push_back({id, rank + 1});
    }
    if (channel.ranks.size() == ranked) continue;
    if (++rank == best_files) break;
  }
  return channel;
}

}  // namespace velmora::workers::retrieval::internal
