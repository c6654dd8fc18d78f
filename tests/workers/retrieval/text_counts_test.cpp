// Ranking by counts beside the tables against SQLite's own bm25 over the same rows, bit by bit.
#include "workers/retrieval/text_counts.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "support/text_rows.h"
#include "workers/retrieval/text_tables.h"

namespace velmora::workers::retrieval::internal {
namespace {

using Keys = std::vector<std::pair<std::int64_t, std::int64_t>>;  // rowid, order key of the score

// The key alone tells every bit of a score but the sign of a zero. `scored`: the database's bm25
// gives scores; otherwise keys.
Keys keys(const storage::Database& database, std::string_view table, const std::string& expression,
          bool scored) {
  if (expression.empty()) return {};
  const std::string name(table);
  storage::Statement statement = database.prepare("SELECT rowid, rank FROM " + name + " WHERE " +
                                                  name + " MATCH ? ORDER BY rank");
  statement.bind(1, expression);
  Keys found;
  while (statement.step()) {
    found.emplace_back(statement.column_int64(0),
                       scored ? order_key(statement.column_double(1)) : statement.column_int64(1));
  }
  return found;
}

std::string any_of(const std::vector<std::string>& terms) {
  std::string expression;
  for (const std::string& term : terms) {
    expression += (expression.empty() ? "\"" : " OR \"") + term + "\"";
  }
  return expression;
}

// The same rows in a database that knows SQLite's own function alone.
class Stock {
 public:
  Stock(const RetrievalSettings& settings, const TextTables& tables)
      : database_(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) {
    copy(tables, "lexical", "name, signature, path, docstring", settings.tokenizer,
         settings.weights.rank_function());
    copy(tables, "files", "names, path, docstrings", settings.tokenizer,
         settings.file_weights.rank_function());
  }
  const storage::Database& database() const { return database_; }

 private:
  void copy(const TextTables& tables, const std::string& name, const std::string& columns,
            const std::string& tokenizer, const std::string& rank) {
    database_.execute("CREATE VIRTUAL TABLE " + name + " USING fts5(" + columns + ", tokenize = '" +
                      tokenizer + "', detail = column)");
    database_.prepare("INSERT INTO " + name + " (" + name + ", rank) VALUES ('rank', ?)")
        .bind(1, rank)
        .run();
    storage::Statement read =
        tables.database().prepare("SELECT rowid, " + columns + " FROM " + name);
    const bool four = name == "lexical";
    storage::Statement write = database_.prepare("INSERT INTO " + name + " (rowid, " + columns +
                                                 ") VALUES (?, ?, ?, ?" + (four ? ", ?)" : ")"));
    while (read.step()) {
      write.bind(1, read.column_int64(0));
      for (int column = 1; column <= (four ? 4 : 3); ++column) {
        write.bind(column + 1, read.column_text(column));
      }
      write.run();
    }
  }

  storage::Database database_;
};

class TextCountsTest : public ::testing::Test {
 protected:
  void expect_equal(const RetrievalSettings& settings, const testing::TextRows& rows, bool counted,
                    const std::vector<std::vector<std::string>>& questions) {
    const auto tables = text_tables(settings, rows.text());
    ASSERT_EQ(tables->counts() != nullptr, counted) << settings.tokenizer;
    const Stock stock(settings, *tables);
    for (const auto& terms : questions) {
      for (const std::string_view table : {SYMBOL_TABLE, FILE_TABLE}) {
        const std::string expression = tables->activate(table, terms);
        // Where words are counted, those that no row holds are left out, to the same effect.
        ASSERT_EQ(keys(tables->database(), table, expression, !counted),
                  keys(stock.database(), table, counted ? any_of(terms) : expression, true))
            << table << " " << expression << " " << settings.tokenizer;
      }
    }
  }
  std::size_t below(std::size_t end) { return random_() % end; }

  // Up to `most` words, the first of the list the likeliest.
  std::string text(std::size_t most) {
    std::string text;
    for (std::size_t i = below(most + 1); i > 0; --i) {
      if (!text.empty()) text += ' ';
      text += word();
    }
    return text;
  }
  std::string word() {
    static const std::vector<std::string> words = {
        "parse", "parsing", "parsed", "config",     "configs",     "q",   "x",  "running",
        "runs",  "42",      "7",      "relational", "conditional", "sky", "ss", "caresses"};
    return words[std::min(below(words.size()), below(words.size()))];
  }
  testing::TextRows table(std::size_t rows, const std::function<std::string(std::size_t)>& field) {
    testing::TextRows result;
    std::vector<std::int64_t> ids = {INT64_MIN, INT64_MAX, 0, -1};
    for (std::int64_t id = 1; ids.size() < rows; id += 1 + static_cast<std::int64_t>(below(9))) {
      ids.push_back(id);
    }
    ids.resize(rows);
    std::shuffle(ids.begin(), ids.end(), random_);
    std::int64_t file = 0;
    for (const std::int64_t id : ids) {
      result.add_symbol(id, {field(3), field(6), field(2), field(20)});
      if (below(4) == 0) result.end_file(++file, field(3));
    }
    result.end_file(file + 1, field(3));
    return result;
  }
  std::vector<std::vector<std::string>> questions(int count) {
    std::vector<std::vector<std::string>> all = {{"absent"}, {"parse", "parse"}, {"absent", "42"}};
    for (int i = 0; i < count; ++i) {
      auto& terms = all.emplace_back();
      for (std::size_t term = 1 + below(5); term > 0; --term) terms.push_back(word());
    }
    return all;
  }

  std::mt19937 random_{5};
};

TEST_F(TextCountsTest, EqualsSqliteOnRandomTables) {
  for (int round = 0; round < 60; ++round) {
    RetrievalSettings settings;
    if (round % 2 == 1) {
      const double weights[] = {0.0, -1.0, 0.1, 2.5, 1e15, 1.0 / 3, 0.0001, -0.0};
      for (double* weight : {&settings.weights.name, &settings.weights.signature,
                             &settings.weights.path, &settings.weights.docstring,
                             &settings.file_weights.names, &settings.file_weights.docstrings}) {
        *weight = weights[below(std::size(weights))];
      }
    }
    if (round % 5 == 4) settings.tokenizer = "unicode61";
    const std::size_t rows = round % 10 == 0 ? 1 : 1 + below(200);
    expect_equal(settings, table(rows, [&](std::size_t most) { return text(most); }), true,
                 questions(12));
  }
}

TEST_F(TextCountsTest, EqualsSqliteWhereAllRowsAreAlike) {
  expect_equal({}, table(50, [](std::size_t) { return "parse config"; }), true, questions(5));
  expect_equal({}, table(50, [](std::size_t) { return ""; }), true, questions(2));
}

// FTS5 cuts a token, so that two longer words with one beginning are one to it.
TEST_F(TextCountsTest, CutsTokensAsSqliteDoes) {
  const std::string longest(32768, 'b');
  const std::vector<std::string> words = {longest, longest + "x", longest + "y", longest.substr(1)};
  expect_equal({}, table(20, [&](std::size_t) { return words[below(4)] + " " + words[below(4)]; }),
               true, {{words[0]}, {words[1], words[3]}, {words[2]}});
}

// Where a word is not one token, or words run together, SQLite counts for itself.
TEST_F(TextCountsTest, LeavesOtherTokenizersToSqlite) {
  const auto words = [&](std::size_t) { return below(2) == 0 ? "parse" : "parse config 42"; };
  expect_equal({.tokenizer = "unicode61 tokenchars '' ''"}, table(30, words), false, {{"parse"}});
  expect_equal({.tokenizer = "unicode61 categories ''L*''"}, table(30, words), false,
               {{"parse"}, {"42", "config"}});
  const auto short_words = [&](std::size_t) { return below(2) == 0 ? "abc def" : "def"; };
  expect_equal({.tokenizer = "trigram"}, table(30, short_words), false, {{"abc", "def"}});
  expect_equal({}, testing::TextRows(), false, {{"parse"}});
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
