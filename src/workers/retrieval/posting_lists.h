// What BM25 needs to know of a full-text table: in which documents each term stands, how often, and
// how long the documents are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "workers/retrieval/dictionary.h"
#include "workers/retrieval/documents.h"
#include "workers/retrieval/text_index.h"

namespace velmora::workers::retrieval::internal {

// A document's number within its table: 0, 1, ... by ascending row.
using DocumentId = std::uint32_t;

// The documents that hold a term: for each two numbers, to be read by PostingLists::read. The first
// is how far it lies from the one before it (from 0, for the first one), the second its frequency,
// as a place in PostingLists::frequencies.
struct PostingList {
  std::uint32_t documents = 0;
  const std::uint8_t* begin = nullptr;
  const std::uint8_t* end = nullptr;
};

// The posting lists of a table. A term's frequency in a document is the sum of the weights of the
// columns that it stands in, once for each time. Immutable; any thread may read it.
class PostingLists {
 public:
  // `weights` are those of the table's columns.
  static PostingLists of_symbols(const Documents& documents, const Dictionary& dictionary,
                                 std::span<const double> weights);
  static PostingLists of_files(const Documents& documents, const Dictionary& dictionary,
                               std::span<const double> weights);

  [[nodiscard]] PostingList operator[](TermId term) const {
    const std::uint8_t* begin = bytes_.data() + starts_[term];
    const std::uint32_t documents = read(begin);
    return {documents, begin, bytes_.data() + starts_[term + 1]};
  }

  // Reads a number of 7 bits a byte, the lowest first; the last byte is below 128.
  static std::uint32_t read(const std::uint8_t*& at) {
    std::uint32_t number = *at++;
    if (number < 0x80) return number;
    number &= 0x7F;
    for (int shift = 7;; shift += 7) {
      const std::uint32_t byte = *at++;
      number |= (byte & 0x7F) << shift;
      if (byte < 0x80) return number;
    }
  }

  // By DocumentId: the rows, ascending, and what the documents' lengths add to BM25's denominator.
  [[nodiscard]] std::span<const RowId> rows() const { return rows_; }
  [[nodiscard]] std::span<const double> norms() const { return norms_; }
  // The distinct frequencies.
  [[nodiscard]] std::span<const double> frequencies() const { return frequencies_; }

 private:
  template <class EachField>
  PostingLists(std::vector<RowId> rows, EachField each_field, const Dictionary& dictionary,
               std::span<const double> weights);

  std::vector<RowId> rows_;
  std::vector<double> norms_;
  std::vector<double> frequencies_;
  std::vector<std::size_t> starts_;  // by term: where its list begins; and the end
  std::vector<std::uint8_t> bytes_;  // of each list: how many documents it holds, and the documents
};

}  // namespace velmora::workers::retrieval::internal
