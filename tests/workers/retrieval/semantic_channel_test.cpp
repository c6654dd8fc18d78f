#include "workers/retrieval/semantic_channel.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/log_capture.h"
#include "support/memory_repository.h"

namespace velmora::workers::retrieval::internal {
namespace {

using engines::EmbeddingBackend;
using engines::EmbeddingEngine;
using Counts = std::vector<std::int64_t>;

// An engine whose model is ready, or throws what it was given.
class Engine : public EmbeddingEngine,
               public EmbeddingBackend,
               public std::enable_shared_from_this<Engine> {
 public:
  explicit Engine(std::exception_ptr error = nullptr) : error_(std::move(error)) {}
  std::shared_ptr<EmbeddingBackend> wait_ready(std::chrono::milliseconds longest) override {
    EXPECT_EQ(longest.count(), 0);
    if (error_) std::rethrow_exception(error_);
    return shared_from_this();
  }
  std::vector<std::vector<float>> embed(std::span<const std::string_view> texts) override {
    EXPECT_EQ(texts.size(), 1u);
    if (texts[0].empty()) return {};  // a broken backend
    return {{1.0f, static_cast<float>(texts[0].size())}};
  }
  std::string_view name() const override { return "m"; }

 private:
  std::exception_ptr error_;
};

class SemanticChannel : public ::testing::Test {
 protected:
  // A store of `count` vectors whose admitted symbols stand at the places given.
  void store(SymbolId count, std::vector<SymbolId> admitted) {
    index_.nearest.clear();
    for (SymbolId i = 0; i < count; ++i) index_.nearest.push_back({10'000'000 + i, 0.5});
    SymbolId id = 1;
    for (const SymbolId place : admitted) index_.nearest[static_cast<std::size_t>(place)].id = id++;
  }
  Channel ask(std::int64_t depth, std::string_view query = "q") {
    index_.asked.clear();
    return semantic_channel(index_, embedder_, settings_, query,
                            Admission(corpus_, false, std::nullopt), depth);
  }
  static std::vector<testing::Row> rows() {
    std::vector<testing::Row> rows(100);
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i].id = static_cast<SymbolId>(i + 1);
    return rows;
  }

  testing::MemoryRepository index_{rows()};
  std::shared_ptr<const Corpus> corpus_ = build_corpus(index_, {}, {});
  RetrievalSettings settings_;
  QueryEmbedder embedder_ = engine_query_embedder(std::make_shared<Engine>());
};

TEST_F(SemanticChannel, WidensWhileFiltersThinTheNeighbours) {
  store(200, {5, 7, 9});
  EXPECT_EQ(ask(2).ranks, (Ranks{{1, 1}, {2, 2}}));
  EXPECT_EQ(index_.asked, Counts{150});

  store(500, {5, 160, 400});  // the second read returns the whole store
  EXPECT_EQ(ask(50), (Channel{.ranks = {{1, 1}, {2, 2}, {3, 3}}}));
  EXPECT_EQ(index_.asked, (Counts{150, 600}));

  store(3000, {0, 10, 20, 700, 800, 900, 2399, 2500});
  EXPECT_EQ(ask(50),
            (Channel{{{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}},
                     PARTIAL,
                     "meaning searched only the 2400 nearest embeddings, 7 of them in scope"}));
  EXPECT_EQ(index_.asked, (Counts{150, 600, 2400}));
}

TEST_F(SemanticChannel, DepthAboveTheSettingsIsTheCeiling) {
  store(5000, {3});
  EXPECT_EQ(ask(3000).problem,
            "meaning searched only the 3000 nearest embeddings, 1 of them in scope");
  EXPECT_EQ(index_.asked, Counts{3000});
  settings_.semantic_max_neighbours = std::numeric_limits<int>::max();
  store(700, {3});
  EXPECT_EQ(ask(std::numeric_limits<int>::max() / 2 + 1).status, OK);
  settings_.semantic_shortlist = settings_.semantic_max_neighbours;
  EXPECT_EQ(ask(1).status, OK);
  EXPECT_EQ(index_.asked, Counts{std::numeric_limits<int>::max()});
}

TEST_F(SemanticChannel, DegradesWithItsProblem) {
  const auto problem = [&](std::string_view status, std::string_view text) {
    const Channel channel = ask(50);
    EXPECT_EQ(channel, (Channel{{}, status, std::string(text)}));
  };
  const testing::LogCapture log(logging::Level::debug);
  problem(UNAVAILABLE, "the index has no symbol embeddings of m");
  store(100, {});
  problem(UNAVAILABLE, "no symbol in scope has an embedding of m");
  EXPECT_EQ(index_.asked, Counts{150});
  embedder_ = engine_query_embedder(std::make_shared<Engine>(
      std::make_exception_ptr(engines::EmbeddingNotReadyError("\u00C9tat: The Model is loading"))));
  problem(UNAVAILABLE, "\u00E9tat: The Model is loading");
  embedder_ = nullptr;
  problem(UNAVAILABLE, "no embedding model is configured");
  EXPECT_TRUE(log.lines().empty());

  embedder_ = [](std::string_view) -> QueryVector { throw std::bad_alloc(); };
  problem(FAILED, "embedding the query failed (see the log)");
  embedder_ = [](std::string_view) { return QueryVector{{1}, "m"}; };
  // From the search this error is one like any other.
  index_.nearest_error = std::make_exception_ptr(TryAgainLaterError("Busy"));
  problem(FAILED, "the embedding search failed (see the log)");
  const std::string name = "WARNING velmora.workers.retrieval: ";
  EXPECT_EQ(
      log.lines(),
      (std::vector<std::string>{
          name + "Embedding the query failed; ranking without meaning\n  caused by: std::bad_alloc",
          name + "The embedding search failed; ranking without meaning\n  caused by: Busy"}));

  embedder_ = [](std::string_view) -> QueryVector { throw 1; };  // as a host's stop request
  EXPECT_THROW(ask(50), int);
}

TEST_F(SemanticChannel, ABackendWithoutAVectorFails) { EXPECT_EQ(ask(50, "").status, FAILED); }

}  // namespace
}  // namespace velmora::workers::retrieval::internal
