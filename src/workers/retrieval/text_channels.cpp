#include "workers/retrieval/text_channels.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace velmora::workers::retrieval::internal {

TextChannels::TextChannels(const Corpus& corpus, std::span<const std::string> terms)
    : corpus_(corpus) {
  if (corpus.text) search_ = corpus.text->search(terms);
}

Channel TextChannels::lexical(const Admission& admit, std::int64_t depth) const {
  if (!search_) return {{}, UNAVAILABLE, std::string(NO_FTS5)};
  const auto count = static_cast<std::size_t>(depth);
  return {.ranks = ranks_in_order(search_(TextTable::symbols, count, std::cref(admit)))};
}

Channel TextChannels::file(const Admission& admit, int best_files) const {
  if (!search_) return {{}, UNAVAILABLE, std::string(NO_FTS5)};
  const auto symbols = [&](RowId row) {
    return corpus_.files[static_cast<std::size_t>(row - 1)].symbols;
  };
  const auto may_answer = [&](RowId row) {
    return std::any_of(symbols(row).begin(), symbols(row).end(), std::cref(admit));
  };
  const std::size_t files = best_files < 1 ? std::numeric_limits<std::size_t>::max()
                                           : static_cast<std::size_t>(best_files);
  Channel channel;
  std::int64_t rank = 0;
  for (const RowId row : search_(TextTable::files, files, may_answer)) {
    ++rank;
    for (const SymbolId id : symbols(row)) {
      if (admit(id)) channel.ranks.push_back({id, rank});
    }
  }
  return channel;
}

}  // namespace velmora::workers::retrieval::internal
