#include "workers/retrieval/rerank.h"

#include <gtest/gtest.h>

#include <numeric>

#include "support/decisions.h"
#include "support/log_capture.h"
#include "support/memory_repository.h"

namespace velmora::workers::retrieval::internal {
namespace {

using engines::DecisionError;
using Ids = std::vector<SymbolId>;

class Rerank : public ::testing::Test {
 protected:
  // Hits of the ids 1 to `count`, of which `pinned` are pinned; the ids of the answer.
  Ids rerank(SymbolId count, Ids pinned = {}, std::string_view query = "q") {
    std::vector<Hit> hits;
    index_.rows.clear();
    for (SymbolId id = 1; id <= count; ++id) {
      hits.push_back({{.id = id,
                       .fqn = "f" + std::to_string(id),
                       .kind = "function",
                       .path = "a.py",
                       .signature = "f()"},
                      0.5,
                      {}});
      index_.rows.push_back({.id = id, .docstring = "Doc."});
    }
    Reranked result = reranked(decisions_, index_, query, std::move(hits), {{}, std::move(pinned)});
    note_ = result.note;
    Ids ids;
    for (const Hit& hit : result.hits) ids.push_back(hit.symbol.id);
    return ids;
  }
  static Ids from_one_to(SymbolId count) {
    Ids ids(static_cast<std::size_t>(count));
    std::iota(ids.begin(), ids.end(), 1);
    return ids;
  }

  testing::MemoryRepository index_;
  testing::Decisions decisions_;
  std::optional<std::string> note_;
};

TEST_F(Rerank, ReordersTheFirstTwelveUnpinned) {
  EXPECT_EQ(rerank(2), (Ids{2, 1}));
  EXPECT_EQ(rerank(17, {2, 4}), (Ids{2, 4, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 3, 1, 15, 16, 17}));
  EXPECT_EQ(note_, std::nullopt);
  EXPECT_EQ(decisions_.decisions, 2);
  EXPECT_EQ(decisions_.version, "1");
  EXPECT_EQ(decisions_.state.question, "q");
  EXPECT_EQ(decisions_.state.candidates.at(1), "2. function f3 in a.py: f() - Doc.");
}

TEST_F(Rerank, AsksNothingForFewerThanTwo) {
  const testing::LogCapture log(logging::Level::debug);
  EXPECT_EQ(rerank(0), Ids{});
  EXPECT_EQ(rerank(1), Ids{1});
  EXPECT_EQ(rerank(3, {1, 2}), from_one_to(3));
  EXPECT_EQ(rerank(3, {1, 2, 3}), from_one_to(3));
  EXPECT_EQ(decisions_.decisions, 0);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(Rerank, ShowsSourceWithConsentAndMissingSymbolsWithoutDocstring) {
  index_.missing = 2;
  rerank(2);
  EXPECT_EQ(decisions_.state.candidates,
            (std::vector<std::string>{"1. function f1 in a.py: f() - Doc.",
                                      "2. function f2 in a.py: f()"}));
  decisions_.consent = false;
  rerank(2);
  EXPECT_EQ(decisions_.state.candidates.at(0), "1. function f1 in a.py");
}

TEST_F(Rerank, FailuresKeepTheOrderAndSayWhich) {
  const auto failing = [&](std::exception_ptr& place, std::exception_ptr error,
                           std::string_view query, const std::string& line) {
    const testing::LogCapture log(logging::Level::debug);
    place = std::move(error);
    EXPECT_EQ(rerank(4, {3}, query), from_one_to(4));
    EXPECT_EQ(note_,
              "The decision model could not rerank the hits (see the log); they keep the "
              "retriever's order.");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"WARNING velmora.workers.retrieval: " + line});
    place = nullptr;
  };
  const auto decision = std::make_exception_ptr(DecisionError("timed out"));
  const auto other = std::make_exception_ptr(std::runtime_error("broken"));
  const std::string kept = " kept the retriever's order: timed out";
  failing(decisions_.decide_error, decision, "q", "The rerank of 'q'" + kept);
  failing(decisions_.consent_error, decision, "it's", "The rerank of \"it's\"" + kept);
  failing(index_.stored_error, decision, "a\nb", "The rerank of 'a\\nb'" + kept);
  const std::string failed = "The rerank of 'q' failed\n  caused by: broken";
  failing(decisions_.decide_error, other, "q", failed);
  failing(decisions_.consent_error, other, "q", failed);
  failing(index_.stored_error, other, "q", failed);
  std::exception_ptr unused;
  decisions_.probability = [](std::size_t) { return 2.0; };
  failing(unused, nullptr, "q",
          "The rerank of 'q' kept the retriever's order: the probability of candidate 1 is not a "
          "number from 0 to 1");
  decisions_.decide_error = std::make_exception_ptr(1);  // as a host's stop request
  EXPECT_THROW(rerank(4), int);
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
