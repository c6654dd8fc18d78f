// How many questions a second 1, 2, 4 and 8 threads answer, all of one retriever, and each of a
// retriever, and so a corpus, of its own. Every thread asks all questions, from a place of its own.
#include <memory>
#include <thread>

#include "benchmarks.h"
#include "measure.h"

namespace velmora::bench {
namespace {

using workers::retrieval::HybridRetriever;
using Retrievers = std::vector<std::unique_ptr<HybridRetriever>>;

constexpr std::size_t MOST_THREADS = 8;
constexpr int ROUNDS = 4;

// Thread i asks retriever i, or the last one when there are fewer.
double questions_a_second(const std::vector<Question>& questions, const Retrievers& retrievers,
                          std::size_t threads) {
  const double took = milliseconds([&] {
    std::vector<std::thread> asking;
    for (std::size_t thread = 0; thread < threads; ++thread) {
      asking.emplace_back([&, thread] {
        HybridRetriever& retriever = *retrievers[std::min(thread, retrievers.size() - 1)];
        const std::size_t first = thread * questions.size() / MOST_THREADS;
        for (std::size_t i = 0; i < ROUNDS * questions.size(); ++i) {
          const Question& question = questions[(first + i) % questions.size()];
          benchmark::DoNotOptimize(retriever.retrieve(question.text));
        }
      });
    }
    for (std::thread& thread : asking) thread.join();
  });
  return static_cast<double>(threads * ROUNDS * questions.size()) / took * 1e3;
}

}  // namespace

void threads(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  Retrievers shared, own;
  shared.push_back(std::make_unique<HybridRetriever>(on.repository));
  for (std::size_t thread = 0; thread < MOST_THREADS; ++thread) {
    own.push_back(std::make_unique<HybridRetriever>(on.repository));
  }
  for (const Retrievers* retrievers : {&shared, &own}) {
    for (const auto& retriever : *retrievers) {
      benchmark::DoNotOptimize(retriever->retrieve(on.questions.front().text));
    }
  }
  for (auto _ : state) {
    for (std::size_t threads = 1; threads <= MOST_THREADS; threads *= 2) {
      const std::string count = std::to_string(threads);
      state.counters["shared_" + count] = questions_a_second(on.questions, shared, threads);
      state.counters["own_" + count] = questions_a_second(on.questions, own, threads);
    }
  }
}

}  // namespace velmora::bench
