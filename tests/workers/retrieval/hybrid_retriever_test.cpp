#include <gtest/gtest.h>

#include <limits>

#include "support/decisions.h"
#include "support/log_capture.h"
#include "support/memory_repository.h"
#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {
namespace {

using testing::MemoryRepository;
using testing::Row;
using Ids = std::vector<SymbolId>;

Ids ids(const RetrievalResult& answer) {
  Ids found;
  for (const Hit& hit : answer.hits) found.push_back(hit.symbol.id);
  return found;
}

// Twenty functions of one file, the better the lower the id.
std::vector<Row> twenty() {
  std::vector<Row> rows;
  std::string padding = "parse";
  for (SymbolId id = 1; id <= 20; ++id, padding += " word") {
    rows.push_back({.id = id, .name = "f" + std::to_string(id), .signature = padding});
  }
  return rows;
}

TEST(HybridRetriever, RefusesALimitBelowOneBeforeReadingTheIndex) {
  const auto index = std::make_shared<MemoryRepository>();
  HybridRetriever retriever(index);
  for (const int limit : {0, -3, std::numeric_limits<int>::min()}) {
    try {
      (void)retriever.retrieve("q", {.limit = limit});
      ADD_FAILURE();
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), "limit must be at least 1, not " + std::to_string(limit));
    }
  }
  EXPECT_EQ(index->fingerprint_reads, 0);
  EXPECT_EQ(index->symbol_reads, 0);
}

// Ranked by hand: "Offloader" names 1 and, as its only word, pins it; 2 begins with it. Both match
// the one term "offloader" of the two files' texts: 3 does too, in its docstring. The best file is
// b.py, whose names are the shorter ones.
TEST(HybridRetriever, AnswersEndToEnd) {
  const auto index = std::make_shared<MemoryRepository>(std::vector<Row>{
      {.id = 1, .name = "Offloader", .path = "b.py", .kind = "class"},
      {.id = 2, .name = "OffloaderPool", .path = "a.py"},
      {.id = 3, .name = "run", .path = "a.py", .docstring = "Runs the offloader until it stops."},
      {.id = 4, .name = "test_offloader", .path = "tests/a.py"}});
  index->nearest = {{3, 0.9}, {4, 0.8}, {2, 0.7}};
  HybridRetriever retriever(index, {.embedder = [](std::string_view) {
                              return QueryVector{{1}, "m"};
                            }});
  const RetrievalResult answer = retriever.retrieve("Offloader", {.limit = 3});
  ASSERT_EQ(ids(answer), (Ids{1, 2, 3}));
  EXPECT_EQ(answer.hits[0].symbol.fqn, "pkg.Offloader");
  using RanksByChannel = ChannelMap<std::int64_t>;
  EXPECT_EQ(answer.hits[0].ranks, (RanksByChannel{{EXACT, 1}, {LEXICAL, 1}, {FILE, 1}}));
  EXPECT_EQ(answer.hits[1].ranks, (RanksByChannel{{EXACT, 2}, {LEXICAL, 2}, {SEMANTIC, 2}}));
  EXPECT_EQ(answer.hits[2].ranks, (RanksByChannel{{LEXICAL, 3}, {SEMANTIC, 1}}));
  EXPECT_EQ(answer.hits[0].score, 1.0 / 61 + 1.0 / 61 + 1.0 / 61);
  EXPECT_EQ(answer.hits[1].score, 1.0 / 62 + 1.0 / 62 + 1.0 / 62);
  EXPECT_EQ(answer.channels,
            (ChannelMap<std::string_view>{{EXACT, OK}, {LEXICAL, OK}, {FILE, OK}, {SEMANTIC, OK}}));
  EXPECT_EQ(answer.note, std::nullopt);

  EXPECT_EQ(ids(retriever.retrieve("Offloader", {.limit = 1})), Ids{1});
  EXPECT_EQ(ids(retriever.retrieve("Offloader", {.scope = "./a.py"})), (Ids{2, 3}));
  EXPECT_EQ(ids(retriever.retrieve("test offloader")).size(), 4u);
  EXPECT_EQ(ids(retriever.retrieve("test offloader", {.include_tests = false})).size(), 3u);
  EXPECT_EQ(ids(retriever.retrieve("Offloader", {.include_tests = true})).size(), 4u);
  EXPECT_EQ(retriever.retrieve("Offloader", {.limit = std::numeric_limits<int>::max()}).hits.size(),
            3u);
  EXPECT_EQ(index->symbol_reads, 1);
}

TEST(HybridRetriever, PinsAboveHigherScores) {
  auto rows = twenty();
  rows[0].docstring = "parse";
  rows.push_back({.id = 99, .name = "RunIt", .path = "z.py"});
  const auto index = std::make_shared<MemoryRepository>(rows);
  index->nearest = {{1, 0.9}};
  HybridRetriever retriever(index, {.embedder =
                                        [](std::string_view) {
                                          return QueryVector{{1}, "m"};
                                        },
                                    .settings = RetrievalSettings{.weights = {.name = 0.0},
                                                                  .file_weights = {.names = 0.0}}});
  const RetrievalResult answer = retriever.retrieve("f1 word parse RunIt", {.limit = 2});
  EXPECT_EQ(ids(answer), (Ids{1, 99}));
  const RetrievalResult pinned = retriever.retrieve("word parse RunIt", {.limit = 2});
  EXPECT_EQ(ids(pinned), (Ids{99, 1}));
  EXPECT_LT(pinned.hits[0].score, pinned.hits[1].score);
}

TEST(HybridRetriever, WithoutFts5AnswersByNameAndWarnsOnceABuild) {
  const testing::LogCapture log(logging::Level::warning);
  const auto index = std::make_shared<MemoryRepository>(twenty());
  HybridRetriever retriever(index, {.settings = RetrievalSettings{.tokenizer = "nonesuch"}});
  for (int question = 0; question < 3; ++question) {
    const RetrievalResult answer = retriever.retrieve("f7");
    EXPECT_EQ(ids(answer), Ids{7});
    EXPECT_EQ(answer.channels.at(LEXICAL), UNAVAILABLE);
    EXPECT_EQ(answer.note,
              "Ranked by name only: this SQLite has no FTS5 for text search; no embedding model is "
              "configured.");
  }
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST(HybridRetriever, RerankTakesHitsFromBelowTheLimit) {
  const auto index = std::make_shared<MemoryRepository>(twenty());
  const auto decisions = std::make_shared<testing::Decisions>();
  HybridRetriever retriever(index, {.decisions = decisions});
  const Ids plain = {1, 2, 3};
  const std::string without_model =
      "Ranked by name and text only: no embedding model is configured.";

  EXPECT_EQ(ids(retriever.retrieve("parse", {.limit = 3})), plain);
  EXPECT_TRUE(decisions->asked.empty());

  decisions->enabled = false;
  EXPECT_EQ(ids(retriever.retrieve("parse", {.limit = 3, .rerank = true})), plain);
  EXPECT_EQ(decisions->asked, std::vector<std::string>{"explore_rerank_results"});
  EXPECT_EQ(decisions->decisions, 0);

  decisions->enabled = true;  // of the 15 hits built, the first 12 come back reversed
  RetrievalResult answer = retriever.retrieve("parse", {.limit = 3, .rerank = true});
  EXPECT_EQ(ids(answer), (Ids{12, 11, 10}));
  EXPECT_EQ(answer.note, without_model);
  EXPECT_EQ(ids(retriever.retrieve("parse", {.limit = 14, .rerank = true})),
            (Ids{12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 13, 14}));
  EXPECT_EQ(retriever.retrieve("parse", {.limit = std::numeric_limits<int>::max(), .rerank = true})
                .hits.size(),
            20u);

  decisions->decide_error = std::make_exception_ptr(engines::DecisionError("timed out"));
  answer = retriever.retrieve("parse", {.limit = 3, .rerank = true});
  EXPECT_EQ(ids(answer), plain);
  EXPECT_EQ(answer.note,
            without_model +
                " The decision model could not rerank the hits (see the log); they keep "
                "the retriever's order.");
  decisions->switch_error = std::make_exception_ptr(std::runtime_error("switch"));
  EXPECT_THROW((void)retriever.retrieve("parse", {.rerank = true}), std::runtime_error);
}

TEST(HybridRetriever, AFailedBuildKeepsTheOldCorpusAndTriesAgain) {
  const auto index = std::make_shared<MemoryRepository>(twenty());
  HybridRetriever retriever(index);
  const Ids before = ids(retriever.retrieve("f7"));
  EXPECT_EQ(before.at(0), 7);
  index->generation = 2;
  index->row_error = std::make_exception_ptr(std::runtime_error("disk"));
  for (int question = 0; question < 2; ++question) {
    EXPECT_THROW((void)retriever.retrieve("f7"), std::runtime_error);
  }
  EXPECT_EQ(index->symbol_reads, 3);
  index->generation = 1;  // the state of the corpus that was kept
  EXPECT_EQ(ids(retriever.retrieve("f7")), before);
  EXPECT_EQ(index->symbol_reads, 3);
  index->generation = 2;
  index->row_error = nullptr;
  index->rows.resize(6);
  EXPECT_EQ(ids(retriever.retrieve("f7")).at(0), 1);  // by its letter, in the shortest text
}

// What the world may send: nothing of it may crash, and a plain question beside it is answered.
TEST(HybridRetriever, SurvivesHostileInput) {
  const std::string nul("par\0se", 6);
  const std::vector<std::string> texts = {
      "NEAR(parse, config)", "name:parse", "^parse*", "\"parse", "\xFF\xFEparse\xC3", nul,
      "parse AND NOT",       "",           "\n\t"};
  std::vector<Row> rows;
  const SymbolId edges[] = {std::numeric_limits<SymbolId>::min(), -1, 0,
                            std::numeric_limits<SymbolId>::max()};
  SymbolId next = 1;
  for (const std::string& text : texts) {
    const SymbolId id = rows.size() < std::size(edges) ? edges[rows.size()] : next++;
    rows.push_back({.id = id, .name = text, .path = text, .signature = text, .docstring = text});
  }
  std::string distinct;
  for (int word = 0; word < 10000; ++word) {
    std::string letters;
    for (int rest = word; letters.size() < 4; rest /= 26)
      letters += static_cast<char>('a' + rest % 26);
    distinct += letters + " ";
  }
  std::vector<std::string> queries = texts;
  queries.insert(queries.end(),
                 {std::string(1 << 20, '\xC3'), std::string(1 << 19, ' ') + "parse"});
  for (const char* tokenizer :
       {"porter unicode61", "ascii", "trigram", "unicode61 categories ''N*''"}) {
    HybridRetriever retriever(std::make_shared<MemoryRepository>(rows),
                              {.settings = RetrievalSettings{.tokenizer = tokenizer}});
    for (const std::string& query : queries) {
      for (const int limit : {1, std::numeric_limits<int>::max()}) {
        try {
          const RetrievalResult answer =
              retriever.retrieve(query, {.limit = limit, .scope = "\xFF"});
          EXPECT_TRUE(answer.hits.empty());
          (void)retriever.retrieve(query, {.limit = limit});
        } catch (const std::exception& error) {
          // A trigram tokenizer makes a phrase of a longer word, which the tables cannot answer.
          EXPECT_STREQ(tokenizer, "trigram") << error.what();
        }
      }
    }
  }
  HybridRetriever retriever(std::make_shared<MemoryRepository>(rows));
  // The NUL splits a word, so its row alone does not hold "parse"; two rows hold no word at all.
  EXPECT_EQ(retriever.retrieve("words that parse", {.limit = 100}).hits.size(), 6u);
  EXPECT_EQ(retriever.retrieve(std::string(1 << 20, 'x')).hits.size(), 0u);
  const RetrievalResult crowd = retriever.retrieve(distinct + "parse", {.limit = 100});
  EXPECT_EQ(crowd.hits.size(), 6u);
}

}  // namespace
}  // namespace velmora::workers::retrieval
