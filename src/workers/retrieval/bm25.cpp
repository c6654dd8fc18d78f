#include "workers/retrieval/bm25.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>

namespace velmora::workers::retrieval::internal {
namespace {

// The documents are ranked this many at a time: their sums stay in the processor's nearest cache.
constexpr std::uint64_t WINDOW = 4096;
constexpr std::uint64_t WORD_BITS = 64;
constexpr DocumentId NONE = std::numeric_limits<DocumentId>::max();

double inverse_document_frequency(std::size_t documents, std::size_t holding) {
  const auto all = static_cast<std::int64_t>(documents);
  const auto hits = static_cast<std::int64_t>(holding);
  const double idf =
      std::log((static_cast<double>(all - hits) + 0.5) / (static_cast<double>(hits) + 0.5));
  return idf <= 0.0 ? 1e-6 : idf;
}

// A walk along a term's postings.
struct Walk {
  DocumentId document;  // where it stands; NONE after the last
  double idf;
  const std::uint8_t* at;
  const std::uint8_t* end;
};

// The sums of the documents of one window.
struct Window {
  DocumentId first = 0;
  std::array<std::uint64_t, WINDOW / WORD_BITS> held = {};  // a bit for each that has a sum
  std::array<double, WINDOW> sums = {};
};

// Adds what the term is worth in each of the window's documents, and walks past them.
void add_window(Window& window, Walk& walk, const PostingLists& lists) {
  const double* const norms = lists.norms().data() + window.first;
  const double* const frequencies = lists.frequencies().data();
  const double idf = walk.idf;
  const std::uint8_t* at = walk.at;
  std::uint64_t place = walk.document - window.first;
  while (place < WINDOW) {
    const double frequency = frequencies[PostingLists::read(at)];
    window.sums[place] += idf * ((frequency * (BM25_K1 + 1.0)) / (frequency + norms[place]));
    window.held[place / WORD_BITS] |= std::uint64_t{1} << (place % WORD_BITS);
    place = at == walk.end ? NONE - window.first : place + PostingLists::read(at);
  }
  walk.at = at;
  walk.document = static_cast<DocumentId>(window.first + place);
}

bool before(const ScoredRow& left, const ScoredRow& right) {
  return left.score != right.score ? left.score < right.score : left.row < right.row;
}

}  // namespace

std::vector<ScoredRow> best_rows(const PostingLists& lists, std::span<const TermId> terms,
                                 std::size_t count, const TextIndex::Accept& accept) {
  std::vector<Walk> walks;
  walks.reserve(terms.size());
  DocumentId next = NONE;
  for (const TermId term : terms) {
    const PostingList list = lists[term];
    if (list.documents == 0) continue;  // the other table holds it
    const std::uint8_t* at = list.begin;
    const DocumentId first = PostingLists::read(at);
    walks.push_back(
        {first, inverse_document_frequency(lists.rows().size(), list.documents), at, list.end});
    next = std::min(next, first);
  }
  if (walks.empty()) return {};

  std::vector<ScoredRow> best;  // a heap, the last of them on top, once there are `count`
  const auto offer = [&](DocumentId document, double score) {
    // Rows ascend, so one that only equals the last of the best comes after it.
    if (best.size() == count && score >= best.front().score) return;
    const ScoredRow row{lists.rows()[document], score};
    if (!accept(row.row)) return;
    if (best.size() == count) {
      std::pop_heap(best.begin(), best.end(), before);
      best.pop_back();
    }
    best.push_back(row);
    std::push_heap(best.begin(), best.end(), before);
  };
  const auto window = std::make_unique<Window>();
  while (next != NONE) {
    window->first = static_cast<DocumentId>(next - next % WINDOW);
    next = NONE;
    for (Walk& walk : walks) {
      add_window(*window, walk, lists);
      next = std::min(next, walk.document);
    }
    for (std::size_t word = 0; word < window->held.size(); ++word) {
      for (std::uint64_t& bits = window->held[word]; bits != 0; bits &= bits - 1) {
        const std::size_t place =
            word * WORD_BITS + static_cast<std::size_t>(std::countr_zero(bits));
        offer(static_cast<DocumentId>(window->first + place), -1.0 * window->sums[place]);
        window->sums[place] = 0.0;
      }
    }
  }
  std::sort_heap(best.begin(), best.end(), before);
  return best;
}

}  // namespace velmora::workers::retrieval::internal
