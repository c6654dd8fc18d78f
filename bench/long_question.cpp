// What a question of very many words costs: of 10,000 words that the corpus holds, and of 100,000
// that it does not, beside cutting each into its terms; and how much more memory the first takes.
#include <malloc.h>

#include <fstream>
#include <stdexcept>
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

// A line of the process's status, in bytes.
double status_bytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) * 1024;
  }
  throw std::runtime_error("the process's status has no " + name);
}

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

void long_question(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const CorpusWords words(*on.rows);
  const Vocabulary& vocabulary = words.documents().vocabulary;
  std::string known;
  for (WordId word = 0; word < vocabulary.size() && word < KNOWN_WORDS + Vocabulary::FIRST_WORD;
       ++word) {
    known += std::string(vocabulary.word(word)) + ' ';
  }
  const std::string unknown = unknown_words();
  workers::retrieval::HybridRetriever retriever(on.repository);
  benchmark::DoNotOptimize(retriever.retrieve("warm up"));

  ::malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew
  const double before = status_bytes("VmRSS");
  benchmark::DoNotOptimize(retriever.retrieve(known));
  state.counters["known_bytes"] = status_bytes("VmHWM") - before;

  Sample known_took, known_split, unknown_took, unknown_split;
  using workers::retrieval::query_terms;
  for (auto _ : state) {
    for (int run = 0; run < RUNS; ++run) {
      known_took.add(milliseconds([&] { benchmark::DoNotOptimize(retriever.retrieve(known)); }));
      known_split.add(milliseconds([&] { benchmark::DoNotOptimize(query_terms(known)); }));
      unknown_took.add(
          milliseconds([&] { benchmark::DoNotOptimize(retriever.retrieve(unknown)); }));
      unknown_split.add(milliseconds([&] { benchmark::DoNotOptimize(query_terms(unknown)); }));
    }
  }
  state.counters["symbols"] = static_cast<double>(on.rows->size());
  state.counters["known"] = known_took.median();
  state.counters["known_split"] = known_split.median();
  state.counters["unknown"] = unknown_took.median();
  state.counters["unknown_split"] = unknown_split.median();
}

}  // namespace velmora::bench
