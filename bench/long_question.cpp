// What a question of very many words costs: of 10,000 words that the corpus holds, and of 100,000
// that it does not, beside cutting each into its terms and names; and how much more memory the
// first takes.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>

#include "benchmarks.h"
#include "measure.h"
#include "velmora/workers/retrieval.h"
#include "word_tables.h"

namespace velmora::bench {
namespace {

using workers::retrieval::internal::Vocabulary;
using workers::retrieval::internal::WordId;

constexpr std::size_t KNOWN_WORDS = 10'000;
constexpr std::size_t UNKNOWN_WORDS = 100'000;
constexpr int RUNS = 5;

// What a thread holds on the heap by `new`, in bytes, and the most that it held.
struct Heap {
  std::int64_t live = 0;
  std::int64_t most = 0;
};
thread_local Heap heap;

// Words of letters alone, that no generated corpus holds.
std::string unknown_words() {
  std::string text;
  for (std::size_t number = 0; number < UNKNOWN_WORDS; ++number) {
    text += "qx";
    for (std::size_t rest = number + 26; rest > 0; rest /= 26) {
      text += static_cast<char>('a' + rest % 26);
    }
    text += ' ';
  }
  return text;
}

}  // namespace
}  // namespace velmora::bench

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  velmora::bench::Heap& heap = velmora::bench::heap;
  heap.live += static_cast<std::int64_t>(::malloc_usable_size(memory));
  heap.most = std::max(heap.most, heap.live);
  return memory;
}
void operator delete(void* memory) noexcept {
  velmora::bench::heap.live -= static_cast<std::int64_t>(::malloc_usable_size(memory));
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace velmora::bench {

void long_question(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const CorpusWords words(*on.rows);
  const Vocabulary& vocabulary = *words.documents().vocabulary;
  std::string known;
  for (WordId word = 0; word < vocabulary.size() && word < KNOWN_WORDS + Vocabulary::FIRST_WORD;
       ++word) {
    known += std::string(vocabulary.word(word)) + ' ';
  }
  const std::string unknown = unknown_words();
  workers::retrieval::HybridRetriever retriever(on.repository);
  benchmark::DoNotOptimize(retriever.retrieve("warm up"));

  const std::int64_t before = heap.live;
  heap.most = before;
  benchmark::DoNotOptimize(retriever.retrieve(known));
  state.counters["known_bytes"] = static_cast<double>(heap.most - before);

  Sample known_took, known_split, unknown_took, unknown_split;
  const auto split = [](const std::string& question) {
    benchmark::DoNotOptimize(workers::retrieval::query_terms(question));
    benchmark::DoNotOptimize(workers::retrieval::query_names(question));
  };
  for (auto _ : state) {
    for (int run = 0; run < RUNS; ++run) {
      known_took.add(milliseconds([&] { benchmark::DoNotOptimize(retriever.retrieve(known)); }));
      known_split.add(milliseconds([&] { split(known); }));
      unknown_took.add(
          milliseconds([&] { benchmark::DoNotOptimize(retriever.retrieve(unknown)); }));
      unknown_split.add(milliseconds([&] { split(unknown); }));
    }
  }
  state.counters["symbols"] = static_cast<double>(on.rows->size());
  state.counters["known"] = known_took.median();
  state.counters["known_split"] = known_split.median();
  state.counters["unknown"] = unknown_took.median();
  state.counters["unknown_split"] = unknown_split.median();
}

}  // namespace velmora::bench
