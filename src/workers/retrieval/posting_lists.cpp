#include "workers/retrieval/posting_lists.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>
#include <unordered_map>

#include "workers/retrieval/bm25.h"

namespace velmora::workers::retrieval::internal {
namespace {

void append(std::vector<std::uint8_t>& bytes, std::uint32_t number) {
  for (; number >= 0x80; number >>= 7) bytes.push_back(static_cast<std::uint8_t>(number | 0x80));
  bytes.push_back(static_cast<std::uint8_t>(number));
}

// Sums frequencies as FTS5 sums them, one weight at a time: with weights that are no whole numbers
// a product would differ in its last bits. What a frequency becomes by one more weight is looked
// up.
class FrequencySums {
 public:
  explicit FrequencySums(std::span<const double> weights) : weights_(weights) { number_of(0.0); }

  // The number of the frequency `number` plus the column's weight.
  std::uint32_t add(std::uint32_t number, std::size_t column) {
    const std::size_t place = number * weights_.size() + column;
    if (next_[place] == UNKNOWN) {
      const std::uint32_t next = number_of(frequencies_[number] + weights_[column]);
      next_[place] = next;  // not before: it may have grown
    }
    return next_[place];
  }

  [[nodiscard]] const std::vector<double>& frequencies() const { return frequencies_; }

 private:
  static constexpr std::uint32_t UNKNOWN = std::numeric_limits<std::uint32_t>::max();

  std::uint32_t number_of(double frequency) {
    const auto next = static_cast<std::uint32_t>(frequencies_.size());
    const auto [entry, is_new] = numbers_.emplace(std::bit_cast<std::uint64_t>(frequency), next);
    if (is_new) {
      frequencies_.push_back(frequency);
      next_.resize(next_.size() + weights_.size(), UNKNOWN);
    }
    return entry->second;
  }

  std::span<const double> weights_;
  std::vector<double> frequencies_;
  std::vector<std::uint32_t> next_;                           // by number and column
  std::unordered_map<std::uint64_t, std::uint32_t> numbers_;  // by the frequency's bits
};

}  // namespace

PostingLists PostingLists::of_symbols(const Documents& documents, const Dictionary& dictionary,
                                      std::span<const double> weights) {
  const std::span<const SymbolDocument> symbols = documents.symbols;
  std::vector<std::uint32_t> order(symbols.size());
  std::iota(order.begin(), order.end(), 0u);
  const auto by_id = [&](std::uint32_t left, std::uint32_t right) {
    return symbols[left].id < symbols[right].id;
  };
  if (!std::is_sorted(order.begin(), order.end(), by_id)) {
    std::sort(order.begin(), order.end(), by_id);
  }
  std::vector<RowId> rows(symbols.size());
  std::transform(order.begin(), order.end(), rows.begin(),
                 [&](std::uint32_t place) { return symbols[place].id; });
  const auto each_field = [&](DocumentId document, auto visit) {
    const SymbolDocument& symbol = symbols[order[document]];
    visit(0, symbol.name());
    visit(1, symbol.signature());
    visit(2, symbol.path());
    visit(3, symbol.docstring());
  };
  return {std::move(rows), each_field, dictionary, weights};
}

PostingLists PostingLists::of_files(const Documents& documents, const Dictionary& dictionary,
                                    std::span<const double> weights) {
  std::vector<RowId> rows(documents.files.size());
  std::iota(rows.begin(), rows.end(), RowId{1});
  const auto each_field = [&](DocumentId document, auto visit) {
    const FileDocument& file = documents.files[document];
    for (const std::uint32_t place : file.symbols) visit(0, documents.symbols[place].name());
    visit(1, file.path);
    for (const std::uint32_t place : file.symbols) visit(2, documents.symbols[place].docstring());
  };
  return {std::move(rows), each_field, dictionary, weights};
}

template <class EachField>
PostingLists::PostingLists(std::vector<RowId> rows, EachField each_field,
                           const Dictionary& dictionary, std::span<const double> weights)
    : rows_(std::move(rows)), norms_(rows_.size()), starts_(dictionary.size() + 1) {
  struct List {
    std::uint32_t document_after = 0;  // the document at hand, if it holds the term
    std::uint32_t frequency = 0;       // there, by number, 0 that of 0.0
    std::uint32_t count = 0;           // of the documents before it
    DocumentId last = 0;
    std::vector<std::uint8_t> bytes;
  };
  FrequencySums sums(weights);
  std::vector<List> lists(dictionary.size());
  std::vector<TermId> held;
  std::int64_t all_words = 0;
  for (DocumentId document = 0; document < rows_.size(); ++document) {
    std::size_t length = 0;
    held.clear();
    each_field(document, [&](std::size_t column, Words words) {
      length += words.size();
      for (const WordId word : words) {
        const TermId term = dictionary.term(word);
        List& list = lists[term];
        if (list.document_after != document + 1) {
          list.document_after = document + 1;
          list.frequency = 0;
          held.push_back(term);
        }
        list.frequency = sums.add(list.frequency, column);
      }
    });
    for (const TermId term : held) {
      List& list = lists[term];
      if (list.count == 0) list.bytes.reserve(24);  // the least that an allocation takes
      append(list.bytes, document - list.last);
      append(list.bytes, list.frequency);
      list.last = document;
      ++list.count;
    }
    norms_[document] = static_cast<double>(length);
    all_words += static_cast<std::int64_t>(length);
  }
  const double average = static_cast<double>(all_words) / static_cast<double>(rows_.size());
  for (double& norm : norms_) norm = bm25_norm(norm, average);
  frequencies_ = sums.frequencies();

  for (TermId term = 0; term < dictionary.size(); ++term) {
    append(bytes_, lists[term].count);
    bytes_.insert(bytes_.end(), lists[term].bytes.begin(), lists[term].bytes.end());
    starts_[term + 1] = bytes_.size();
  }
  bytes_.shrink_to_fit();
}

}  // namespace velmora::workers::retrieval::internal
