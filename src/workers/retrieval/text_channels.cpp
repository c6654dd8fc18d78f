#include "workers/retrieval/text_channels.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace velmora::workers::retrieval::internal {
namespace {

Channel without_index() { return {{}, UNAVAILABLE, std::string(NO_FTS5)}; }

}  // namespace

Channel lexical_channel(const Corpus& corpus, std::span<const std::string> terms,
                        const Admission& admit, std::int64_t depth) {
  if (!corpus.text) return without_index();
  if (terms.empty()) return {};
  return {.ranks = ranks_in_order(corpus.text->best(
              TextTable::symbols, terms, static_cast<std::size_t>(depth), std::cref(admit)))};
}

Channel file_channel(const Corpus& corpus, std::span<const std::string> terms,
                     const Admission& admit, int best_files) {
  if (!corpus.text) return without_index();
  Channel channel;
  if (terms.empty()) return channel;
  const auto symbols = [&](RowId row) {
    return corpus.files[static_cast<std::size_t>(row - 1)].symbols;
  };
  const auto may_answer = [&](RowId row) {
    return std::any_of(symbols(row).begin(), symbols(row).end(), std::cref(admit));
  };
  const std::size_t files = best_files < 1 ? std::numeric_limits<std::size_t>::max()
                                           : static_cast<std::size_t>(best_files);
  std::int64_t rank = 0;
  for (const RowId row : corpus.text->best(TextTable::files, terms, files, may_answer)) {
    ++rank;
    for (const SymbolId id : symbols(row)) {
      if (admit(id)) channel.ranks.push_back({id, rank});
    }
  }
  return channel;
}

}  // namespace velmora::workers::retrieval::internal
