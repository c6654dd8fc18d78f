#include "workers/retrieval/text_tables.h"

#include <gtest/gtest.h>

#include <future>
#include <limits>

#include "support/log_capture.h"
#include "support/text_rows.h"
#include "velmora/storage/sqlite.h"
#include "workers/retrieval/rank_expression.h"

namespace velmora::workers::retrieval::internal {
namespace {

using Ids = std::vector<std::int64_t>;

// One table's answers, through the scoped query.
class Tables {
 public:
  Tables(const RetrievalSettings& settings, std::vector<SymbolText> symbols,
         std::vector<FileText> files = {})
      : tables_(text_tables(settings, symbols, testing::file_texts(std::move(files)))) {}

  Ids matching(std::vector<std::string> terms, std::string_view table = SYMBOL_TABLE) {
    Ids ids;
    for (const std::int64_t id : Matching(*tables_, lock_, table, terms)) ids.push_back(id);
    return ids;
  }

  std::unique_ptr<TextTables> tables_;
  std::mutex lock_;
};

TEST(TextTables, WritesWeightsByMagnitude) {
  const std::pair<double, const char*> cases[] = {
      {10, "10.0"},
      {0, "0.0"},
      {-0.0, "-0.0"},
      {2.5, "2.5"},
      {100000, "100000.0"},
      {0.0001, "0.0001"},
      {0.00001, "1e-05"},
      {1.5e-7, "1.5e-07"},
      {1e15, "1000000000000000.0"},
      {9007199254740993, "9007199254740992.0"},
      {1e16, "1e+16"},
      {-1.25e300, "-1.25e+300"},
      {0.1, "0.1"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::infinity(), "inf"},
      {std::numeric_limits<double>::quiet_NaN(), "nan"}};
  for (const auto& [weight, text] : cases) EXPECT_EQ(weight_text(weight), text);
  EXPECT_EQ(LexicalWeights{}.rank_function(), "bm25(10.0, 3.0, 2.0, 1.0)");
  EXPECT_EQ(FileWeights{}.rank_function(), "bm25(3.0, 2.0, 1.0)");
  EXPECT_EQ(bm25_expression({}), "bm25()");
}

TEST(TextTables, RanksMatchesOfAnyTerm) {
  Tables tables({},
                {{1, "parse", "", "", "config"},
                 {-5, "config", "", "", "parse"},
                 {INT64_MAX, "parse config", "", "", ""},
                 {INT64_MIN, "debounce", "timer", "src", ""},
                 {7, "other", "", "", ""}},
                {{1, "parse parse", "a", ""}, {2, "", "b", "parse"}});
  EXPECT_EQ(tables.matching({"debounced"}), (Ids{INT64_MIN}));      // one stem
  EXPECT_EQ(tables.matching({"config"}), (Ids{-5, INT64_MAX, 1}));  // in a name, docstring last
  EXPECT_EQ(tables.matching({"parse", "config"}).front(), INT64_MAX);
  EXPECT_EQ(tables.matching({"parse"}, FILE_TABLE), (Ids{1, 2}));
  EXPECT_EQ(tables.matching({"absent"}), Ids{});
  EXPECT_EQ(Tables({}, {}).matching({"parse"}), Ids{});
}

TEST(TextTables, ScopeHoldsTheLockUntilItEnds) {
  Tables tables({}, {{1, "a1x", "", "", ""}, {2, "x", "", "", ""}, {3, "x", "", "", ""}});
  const std::vector<std::string> terms = {"x"};
  {
    Matching matching(*tables.tables_, tables.lock_, SYMBOL_TABLE, terms);
    EXPECT_FALSE(std::async(std::launch::async, [&] { return tables.lock_.try_lock(); }).get());
    EXPECT_EQ(*matching.begin(), 2);  // and leaves rows unread
  }
  EXPECT_EQ(tables.matching(terms), (Ids{2, 3}));
}

TEST(TextTables, NoTokenizerNoTables) {
  for (const char* tokenizer : {"nonesuch", "porter nonesuch", "unicode61', x", "'", ""}) {
    const testing::LogCapture log(logging::Level::debug);
    const bool made = text_tables({.tokenizer = tokenizer}, {}, testing::file_texts({})) != nullptr;
    EXPECT_EQ(made, log.lines().empty()) << tokenizer;
    if (made) continue;
    EXPECT_TRUE(log.lines().at(0).starts_with(
        "WARNING velmora.workers.retrieval: This SQLite has no FTS5: retrieval ranks without text\n"
        "  caused by: "))
        << log.lines().at(0);
  }
}

TEST(TextTables, FillingErrorsReachTheCaller) {
  const std::vector<SymbolText> twice = {{1, "a", "", "", ""}, {1, "b", "", "", ""}};
  EXPECT_THROW((void)text_tables({}, twice, testing::file_texts({})), storage::DatabaseError);
  RetrievalSettings settings;
  for (const double weight : {1e16, 1e-5, std::numeric_limits<double>::infinity()}) {
    settings.weights.path = weight;
    EXPECT_THROW((void)text_tables(settings, {}, testing::file_texts({})), storage::DatabaseError)
        << weight;
  }
}

// Terms that a tokenizer turns into no token once made SQLite dereference null.
TEST(TextTables, EveryTokenizerAnswersEveryTerm) {
  const std::vector<SymbolText> rows = {{1, "parse 42", "", "", ""}, {2, "pa 7", "", "", ""}};
  const auto ask = [&](const char* tokenizer, std::vector<std::string> terms) {
    return Tables({.tokenizer = tokenizer}, rows).matching(std::move(terms));
  };
  for (const char* tokenizer : {"unicode61", "ascii", "porter ascii", "porter"}) {
    EXPECT_EQ(ask(tokenizer, {"42", "absent"}), Ids{1}) << tokenizer;
  }
  EXPECT_EQ(ask("unicode61 categories ''L*''", {"42", "pa"}), Ids{2});
  EXPECT_EQ(ask("unicode61 categories ''L*''", {"42", "7"}), Ids{});
  EXPECT_EQ(ask("trigram", {"pa", "par"}), Ids{1});
  EXPECT_EQ(ask("trigram", {"pa"}), Ids{});
  EXPECT_THROW(ask("trigram", {"parse"}), storage::DatabaseError);  // a phrase of three tokens
  EXPECT_THROW(ask("unicode61 separators r", {"parse"}), storage::DatabaseError);
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
