// Many threads on one retriever; run under the thread sanitizer.
#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "support/memory_repository.h"
#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {
namespace {

using testing::MemoryRepository;
using testing::Row;

// An index whose every generation has one symbol more, named after its id; the rows are those of
// the generation of the cursor's making.
class GrowingRepository : public storage::Repository {
 public:
  storage::IndexFingerprint retrieval_fingerprint() override {
    return {std::to_string(generation)};
  }
  std::unique_ptr<storage::SymbolCursor> retrievable_code_symbols(
      std::span<const std::string_view> languages,
      std::span<const std::string_view> kinds) override {
    const int count = 100 + generation;
    std::vector<Row> rows;
    for (int id = 1; id <= count; ++id) {
      rows.push_back({.id = id, .name = "name_" + std::to_string(id), .docstring = "parse text"});
    }
    ++builds;
    auto state = std::make_unique<Cursor>();
    state->repository.rows = std::move(rows);
    state->cursor = state->repository.retrievable_code_symbols(languages, kinds);
    return state;
  }
  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float>, std::string_view,
                                                       storage::NearestOptions) override {
    return {{1, 1.0}};
  }
  std::unordered_map<SymbolId, storage::StoredSymbol> get_symbols_by_ids(
      std::span<const SymbolId>) override {
    return {};
  }

  std::atomic<int> generation = 1;
  std::atomic<int> builds = 0;

 private:
  struct Cursor : storage::SymbolCursor {
    const storage::SymbolRow* next() override { return cursor->next(); }
    MemoryRepository repository;
    std::unique_ptr<storage::SymbolCursor> cursor;
  };
};

TEST(Concurrency, QuestionsArrivingTogetherCauseOneBuild) {
  const auto index = std::make_shared<GrowingRepository>();
  HybridRetriever retriever(index);
  std::latch start(8);
  std::vector<std::jthread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      EXPECT_EQ(retriever.retrieve("name_7").hits.at(0).symbol.id, 7);
    });
  }
  threads.clear();
  EXPECT_EQ(index->builds, 1);
}

// Whether the posting lists rank, or the tables.
class ConcurrencyTest : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Concurrency, ConcurrencyTest, ::testing::Bool());

TEST_P(ConcurrencyTest, AHundredThreadsAskWhileTheIndexChanges) {
  const auto index = std::make_shared<GrowingRepository>();
  HybridRetriever retriever(index, {.embedder =
                                        [](std::string_view) {
                                          return QueryVector{{1}, "m"};
                                        },
                                    .text_tables_only = GetParam()});
  std::latch start(101);
  std::vector<std::jthread> threads;
  for (int i = 1; i <= 100; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      for (int question = 0; question < 4; ++question) {
        const std::string name = "name_" + std::to_string(i);
        const RetrievalResult named = retriever.retrieve(name, {.limit = 1});
        EXPECT_EQ(named.hits.at(0).symbol.name, name);
        EXPECT_EQ(named.note, std::nullopt);
        // One word of the index, and one of its stem alone.
        for (const char* about : {"how to parse", "how is it parsed"}) {
          EXPECT_EQ(retriever.retrieve(about, {.limit = 5}).hits.size(), 5u);
        }
      }
    });
  }
  start.arrive_and_wait();
  for (int change = 0; change < 20; ++change) {
    ++index->generation;
    std::this_thread::yield();
  }
  threads.clear();
  const std::string newest = "name_" + std::to_string(100 + index->generation);
  EXPECT_EQ(retriever.retrieve(newest).hits.at(0).symbol.name, newest);
}

}  // namespace
}  // namespace velmora::workers::retrieval
