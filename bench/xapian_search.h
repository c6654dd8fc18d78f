// Xapian over the same symbols: a database in memory, stemmed words, BM25 with the same weights.
#pragma once

#include <xapian.h>

#include <span>
#include <string>

#include "workers/retrieval/documents.h"

namespace velmora::bench {

class XapianSearch {
 public:
  explicit XapianSearch(const workers::retrieval::internal::Documents& documents);

  // Reads the FIRST_ROWS best symbols for any of the terms; returns how many there are.
  std::size_t ask(std::span<const std::string> terms);

 private:
  Xapian::Stem stem_;
  Xapian::WritableDatabase database_;
};

}  // namespace velmora::bench
