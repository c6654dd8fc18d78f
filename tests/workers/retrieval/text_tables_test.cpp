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

struct Row {
  std::int64_t id;
  std::array<std::string, 4> fields;
};

testing::TextRows rows_of(const std::vector<Row>& rows) {
  testing::TextRows text;
  for (const Row& row : rows) text.add_symbol(row.id, row.fields);
  text.end_file(1, "all");
  return text;
}

// The answers of tables over some symbols in one file.
class Tables {
 public:
  Tables(const RetrievalSettings& settings, const testing::TextRows& rows)
      : tables_(text_tables(settings, rows.text())) {}
  Tables(const RetrievalSettings& settings, const std::vector<Row>& rows)
      : Tables(settings, rows_of(rows)) {}

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

TEST(TextTables, AWordThatNoRowHoldsCostsNothing) {
  Tables tables({}, {{1, {"parse", "", "", "config"}}, {2, {"parse parse", "", "", ""}}});
  const std::vector<std::string> both = {"zebra", "parse", "quagga"};
  EXPECT_EQ(tables.tables_->activate(SYMBOL_TABLE, both), "\"parse\"");
  EXPECT_EQ(tables.matching(both), tables.matching({"parse"}));
  EXPECT_EQ(tables.tables_->activate(SYMBOL_TABLE, std::vector<std::string>{"zebra"}), "");
  EXPECT_EQ(tables.matching({"zebra"}), Ids());
}

TEST(TextTables, RanksMatchesOfAnyTerm) {
  testing::TextRows rows;
  rows.add_symbol(1, {"parse", "", "", "config"});
  rows.add_symbol(-5, {"config", "", "", "parse"});
  rows.end_file(1, "a");
  rows.add_symbol(INT64_MAX, {"parse config", "", "", ""});
  rows.add_symbol(INT64_MIN, {"debounce", "timer", "src", ""});
  rows.add_symbol(7, {"other", "", "", ""});
  rows.end_file(2, "b");
  Tables tables({}, rows);
  EXPECT_EQ(tables.matching({"debounced"}), (Ids{INT64_MIN}));      // one stem
  EXPECT_EQ(tables.matching({"config"}), (Ids{-5, INT64_MAX, 1}));  // in a name, docstring last
  EXPECT_EQ(tables.matching({"parse", "config"}).front(), INT64_MAX);
  EXPECT_EQ(tables.matching({"parse"}, FILE_TABLE), (Ids{1, 2}));
  EXPECT_EQ(tables.matching({"timer"}, FILE_TABLE), Ids{});
  EXPECT_EQ(tables.matching({"absent"}), Ids{});
  EXPECT_EQ(Tables({}, testing::TextRows()).matching({"parse"}), Ids{});
}

TEST(TextTables, ScopeHoldsTheLockUntilItEnds) {
  Tables tables({}, {{1, {"other"}}, {2, {"x"}}, {3, {"x"}}});
  const std::vector<std::string> terms = {"x"};
  {
    Matching matching(*tables.tables_, tables.lock_, SYMBOL_TABLE, terms);
    EXPECT_FALSE(std::async(std::launch::async, [&] { return tables.lock_.try_lock(); }).get());
    EXPECT_EQ(*matching.begin(), 2);  // and leaves rows unread
  }
  EXPECT_EQ(tables.matching(terms), (Ids{2, 3}));
}

TEST(TextTables, NoTokenizerNoTables) {
  for (const char* tokenizer : {"nonesuch", "porter nonesuch", "unicode61', x", "'"}) {
    const testing::LogCapture log(logging::Level::debug);
    EXPECT_EQ(text_tables({.tokenizer = tokenizer}, testing::TextRows().text()), nullptr);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_TRUE(log.lines()[0].starts_with(
        "WARNING velmora.workers.retrieval: This SQLite has no FTS5: retrieval ranks without text\n"
        "  caused by: "))
        << log.lines()[0];
  }
}

TEST(TextTables, FillingErrorsReachTheCaller) {
  const testing::TextRows twice = rows_of({{1, {"a"}}, {1, {"b"}}});
  EXPECT_THROW((void)text_tables({}, twice.text()), storage::DatabaseError);
  RetrievalSettings settings;
  for (const double weight : {1e16, 1e-5, std::numeric_limits<double>::infinity()}) {
    settings.weights.path = weight;
    EXPECT_THROW((void)text_tables(settings, rows_of({}).text()), storage::DatabaseError) << weight;
  }
}

// Terms that a tokenizer turns into no token once made SQLite dereference null.
TEST(TextTables, EveryTokenizerAnswersEveryTerm) {
  const std::vector<Row> rows = {{1, {"parse 42"}}, {2, {"pa 7"}}};
  const auto ask = [&](const char* tokenizer, std::vector<std::string> terms) {
    return Tables({.tokenizer = tokenizer}, rows).matching(std::move(terms));
  };
  for (const char* tokenizer : {"unicode61", "ascii", "porter ascii", "porter", ""}) {
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
