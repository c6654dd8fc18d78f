// The channels that search the text index.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "workers/retrieval/admission.h"
#include "workers/retrieval/corpus.h"
#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {

// What the text index answers to a question's terms. Both channels are unavailable without a text
// index, and "ok" without ranks when there are no terms; an error of the search is thrown on. The
// corpus must outlive it.
class TextChannels {
 public:
  TextChannels(const Corpus& corpus, std::span<const std::string> terms);

  // BM25 over the words of each symbol: the first `depth` admitted symbols that match any term, one
  // rank each.
  [[nodiscard]] Channel lexical(const Admission& admit, std::int64_t depth) const;

  // BM25 over whole files: every admitted symbol of the `best_files` files that match best takes
  // its file's rank. A file without admitted symbols is passed over.
  [[nodiscard]] Channel file(const Admission& admit, int best_files) const;

 private:
  const Corpus& corpus_;
  TextIndex::Search search_;  // empty without a text index
};

}  // namespace velmora::workers::retrieval::internal
