// The text index by its rules, and its posting lists against SQLite's own tables and bm25 over the
// same rows: scores bit by bit, rows at every depth.
#include "workers/retrieval/text_index.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <limits>
#include <random>

#include "support/log_capture.h"
#include "support/text_documents.h"
#include "workers/retrieval/bm25.h"
#include "workers/retrieval/rank_expression.h"
#include "workers/retrieval/text_tables.h"

namespace velmora::workers::retrieval::internal {
namespace {

using testing::TextDocuments;

using Rows = std::vector<RowId>;
using Terms = std::vector<std::string>;

constexpr std::size_t ALL = std::numeric_limits<std::size_t>::max();

struct Row {
  RowId id;
  std::array<std::string, 4> fields;
};

TextDocuments documents_of(const std::vector<Row>& rows) {
  TextDocuments documents;
  for (const Row& row : rows) documents.add_symbol(row.id, row.fields);
  documents.end_file("all");
  return documents;
}

Rows all_rows(const TextIndex& index, const Terms& terms, TextTable table = TextTable::symbols) {
  return index.search(terms)(table, ALL, [](RowId) { return true; });
}

TEST(TextIndex, WritesWeightsByMagnitude) {
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

TEST(TextIndex, RanksMatchesOfAnyTerm) {
  TextDocuments documents;
  documents.add_symbol(1, {"parse", "", "", "config"});
  documents.add_symbol(-5, {"config", "", "", "parse"});
  documents.end_file("a");
  documents.add_symbol(INT64_MAX, {"parse config", "", "", ""});
  documents.add_symbol(INT64_MIN, {"debounce", "timer", "src", ""});
  documents.add_symbol(7, {"other", "", "", ""});
  documents.end_file("b");
  for (const bool tables_only : {false, true}) {
    const auto index = text_index({}, documents.documents(), tables_only);
    EXPECT_EQ(all_rows(*index, {"debounced"}), (Rows{INT64_MIN}));      // one stem
    EXPECT_EQ(all_rows(*index, {"config"}), (Rows{-5, INT64_MAX, 1}));  // in a name, docstring last
    EXPECT_EQ(all_rows(*index, {"parse", "config"}).front(), INT64_MAX);
    EXPECT_EQ(all_rows(*index, {"parse"}, TextTable::files), (Rows{1, 2}));
    EXPECT_EQ(all_rows(*index, {"timer"}, TextTable::files), Rows{});
    EXPECT_EQ(all_rows(*index, {"absent"}), Rows{});
    EXPECT_EQ(all_rows(*text_index({}, TextDocuments().documents(), tables_only), {"parse"}),
              Rows{});
  }
}

// FTS5 shows what a table holds.
TEST(TextIndex, StoresTheTextsOfTheDocuments) {
  TextDocuments documents;
  documents.add_symbol(4, {"getUser", "get_user(the limit)", "src/web", "Reads the users."});
  documents.add_symbol(3, {"the", "", "src/web", ""});
  documents.add_symbol(5, {"HTTPServer", "", "src/web", "Serves."});
  documents.end_file("src/web");
  const auto tables = TextTables::make("porter unicode61");
  for (const SymbolDocument& symbol : documents.documents().symbols) {
    tables->add(symbol, *documents.documents().vocabulary);
  }
  tables->add_files(documents.documents());
  const auto stored = [&](const std::string& select, int columns) {
    storage::Statement row = tables->database().prepare(select);
    row.step();
    std::string texts;
    for (int i = 0; i < columns; ++i) texts.append(row.column_text(i)).append("|");
    return texts;
  };
  EXPECT_EQ(stored("SELECT * FROM lexical WHERE rowid = 4", 4),
            "get user|get user limit|src web|reads users|");
  EXPECT_EQ(stored("SELECT * FROM lexical WHERE rowid = 3", 4), "||src web||");
  EXPECT_EQ(stored("SELECT * FROM files WHERE rowid = 1", 3),
            "get user  http server|src web|reads users serves|");  // an empty name between two
}

TEST(TextIndex, NoTokenizerNoIndex) {
  for (const char* tokenizer : {"nonesuch", "porter nonesuch", "unicode61', x", "'"}) {
    const testing::LogCapture log(logging::Level::debug);
    EXPECT_EQ(text_index({.tokenizer = tokenizer}, TextDocuments().documents()), nullptr);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_TRUE(log.lines()[0].starts_with(
        "WARNING velmora.workers.retrieval: This SQLite has no FTS5: retrieval ranks without text\n"
        "  caused by: "))
        << log.lines()[0];
  }
}

// What `work()` throws of the database.
std::string error_of(const std::function<void()>& work) {
  try {
    work();
    return "none";
  } catch (const storage::DatabaseError& error) {
    return std::to_string(error.extended_code()) + " " + error.what();
  }
}

TEST(TextIndex, PostingListsFailAsTheTablesDo) {
  const auto errors = [](const RetrievalSettings& settings, const TextDocuments& documents,
                         const Terms& terms = {"x"}) {
    const auto error = [&](bool tables_only) {
      return error_of([&] {
        (void)all_rows(*text_index(settings, documents.documents(), tables_only), terms);
      });
    };
    EXPECT_EQ(error(false), error(true));
    return error(false);
  };
  for (const auto& ids : {std::pair{1, 2}, {2, 1}}) {
    const auto [twice, other] = ids;
    const TextDocuments documents =
        documents_of({{1, {"a"}}, {2, {"b"}}, {twice, {"c"}}, {other + 2, {"d"}}});
    EXPECT_EQ(errors({}, documents), "19 two symbols have the id " + std::to_string(twice));
  }
  RetrievalSettings settings;
  for (const double weight : {1e16, 1e-5, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
    settings.weights.path = weight;
    EXPECT_NE(errors(settings, documents_of({{1, {"a"}}})), "none") << weight;
  }
  // A phrase, told only by the question.
  EXPECT_NE(errors({.tokenizer = "unicode61 separators r"}, documents_of({{1, {"a"}}}),
                   {"a", "absent", "parse"}),
            "none");
}

// Terms that a tokenizer turns into no token once made SQLite dereference null.
TEST(TextIndex, EveryTokenizerAnswersEveryTerm) {
  const TextDocuments documents = documents_of({{1, {"parse 42"}}, {2, {"pa 7"}}});
  const auto ask = [&](const char* tokenizer, const Terms& terms) {
    return all_rows(*text_index({.tokenizer = tokenizer}, documents.documents()), terms);
  };
  for (const char* tokenizer : {"unicode61", "ascii", "porter ascii", "porter", ""}) {
    EXPECT_EQ(ask(tokenizer, {"42", "absent"}), Rows{1}) << tokenizer;
  }
  EXPECT_EQ(ask("unicode61 categories ''L*''", {"42", "pa"}), Rows{2});
  EXPECT_EQ(ask("unicode61 categories ''L*''", {"42", "7"}), Rows{});
  EXPECT_EQ(ask("trigram", {"pa", "par"}), Rows{1});
  EXPECT_EQ(ask("trigram", {"pa"}), Rows{});
  EXPECT_THROW(ask("trigram", {"parse"}), storage::DatabaseError);  // a phrase of three tokens
  EXPECT_THROW(ask("unicode61 separators r", {"parse"}), storage::DatabaseError);
}

using Scores = std::vector<std::pair<RowId, std::uint64_t>>;  // rows and the bits of their scores

// An index made in both ways, and SQLite's own tables asked for their scores.
class BothWays {
 public:
  BothWays(const RetrievalSettings& settings, const TextDocuments& documents)
      : index_(text_index(settings, documents.documents())),
        tables_index_(text_index(settings, documents.documents(), true)),
        tables_(TextTables::make(settings.tokenizer)) {
    const Documents all = documents.documents();
    tables_->set_ranks(settings);
    for (const SymbolDocument& symbol : all.symbols) tables_->add(symbol, *all.vocabulary);
    tables_->add_files(all);
    dictionary_ = Dictionary::make(tables_->tokenizer(), all.vocabulary);
    if (!dictionary_) return;
    lists_[0] = PostingLists::of_symbols(all, *dictionary_,
                                         tables_->weights_of(settings.weights.rank_function()));
    lists_[1] = PostingLists::of_files(all, *dictionary_,
                                       tables_->weights_of(settings.file_weights.rank_function()));
  }

  // Whether posting lists stand for the tables.
  [[nodiscard]] bool has_lists() const { return dictionary_.has_value(); }

  void expect_equal(const Terms& terms, std::size_t modulus) const {
    for (const TextTable table : {TextTable::symbols, TextTable::files}) {
      const auto accept = [&](RowId row) { return static_cast<std::uint64_t>(row) % modulus == 0; };
      const Rows all = tables_index_->search(terms)(table, ALL, accept);
      for (std::size_t depth = 1; depth <= all.size() + 1; depth += 1 + depth / 4) {
        const Rows first(all.begin(),
                         all.begin() + static_cast<std::ptrdiff_t>(std::min(depth, all.size())));
        ASSERT_EQ(index_->search(terms)(table, depth, accept), first) << depth;
      }
      ASSERT_EQ(index_->search(terms)(table, ALL, accept), all);
      if (!has_lists()) continue;
      ASSERT_EQ(scores(table, terms), table_scores(table, terms));
    }
  }

 private:
  [[nodiscard]] Scores scores(TextTable table, const Terms& terms) const {
    std::vector<TermId> known;
    (void)tables_->tokenizer().run([&](const TableTokenizer::Tokenize& tokenize) {
      for (const std::string& term : terms) {
        const TermId found = dictionary_->find_token(tokenize(term).first);
        if (found != Dictionary::UNKNOWN) known.push_back(found);
      }
    });
    Scores scores;
    const PostingLists& lists = *lists_[table == TextTable::files ? 1 : 0];
    for (const ScoredRow& row : best_rows(lists, known, ALL, [](RowId) { return true; })) {
      scores.emplace_back(row.row, bits(row.score));
    }
    return scores;
  }

  [[nodiscard]] Scores table_scores(TextTable table, const Terms& terms) const {
    const std::string name = table == TextTable::files ? "files" : "lexical";
    std::string expression;
    for (const std::string& term : terms) {
      expression += (expression.empty() ? "\"" : " OR \"") + term + "\"";
    }
    storage::Statement select = tables_->database().prepare(
        "SELECT rowid, rank FROM " + name + " WHERE " + name + " MATCH ? ORDER BY rank");
    select.bind(1, expression);
    Scores scores;
    while (select.step()) {
      scores.emplace_back(select.column_int64(0), bits(select.column_double(1)));
    }
    return scores;
  }

  // SQLite does not keep the sign of a zero.
  static std::uint64_t bits(double score) { return std::bit_cast<std::uint64_t>(score + 0.0); }

  std::unique_ptr<const TextIndex> index_;
  std::unique_ptr<const TextIndex> tables_index_;
  std::unique_ptr<TextTables> tables_;
  std::optional<Dictionary> dictionary_;
  std::optional<PostingLists> lists_[2];
};

class PostingListsTest : public ::testing::Test {
 protected:
  static void expect_equal(const RetrievalSettings& settings, const TextDocuments& documents,
                           bool has_lists, const std::vector<Terms>& questions) {
    const BothWays both(settings, documents);
    ASSERT_EQ(both.has_lists(), has_lists) << settings.tokenizer;
    for (const Terms& terms : questions) {
      for (const std::size_t modulus : {1u, 3u}) both.expect_equal(terms, modulus);
      ASSERT_FALSE(HasFatalFailure())
          << settings.tokenizer << " " << ::testing::PrintToString(terms);
    }
  }
  std::size_t below(std::size_t end) { return random_() % end; }

  // Up to `most` words, the first of the list the likeliest.
  std::string text(std::size_t most) {
    std::string text;
    for (std::size_t i = below(most + 1); i > 0; --i) text += word() + ' ';
    return text;
  }
  std::string word() {
    static const Terms words = {"parse", "parsing",  "parsed",     "config",     "configs", "q",
                                "x",     "running",  "runs",       "42",         "7",       "sky",
                                "ss",    "caresses", "relational", "conditional"};
    return words[std::min(below(words.size()), below(words.size()))];
  }
  TextDocuments table(std::size_t rows, const std::function<std::string(std::size_t)>& field) {
    TextDocuments documents;
    Rows ids = {INT64_MIN, INT64_MAX, 0, -1};
    for (RowId id = 1; ids.size() < rows; id += 1 + static_cast<RowId>(below(9))) ids.push_back(id);
    ids.resize(rows);
    std::shuffle(ids.begin(), ids.end(), random_);
    for (const RowId id : ids) {
      documents.add_symbol(id, {field(3), field(6), field(2), field(20)});
      if (below(4) == 0) documents.end_file(field(3));
    }
    documents.end_file(field(3));
    return documents;
  }
  std::vector<Terms> questions(int count) {
    std::vector<Terms> all = {{"absent"}, {"parse", "parse"}, {"absent", "42"}};
    for (int i = 0; i < count; ++i) {
      Terms& terms = all.emplace_back();
      for (std::size_t term = 1 + below(5); term > 0; --term) terms.push_back(word());
    }
    return all;
  }

  std::mt19937 random_{5};
};

TEST_F(PostingListsTest, EqualSqliteOnRandomTables) {
  const char* tokenizers[] = {"unicode61", "ascii", "porter ascii", "porter", ""};
  for (std::size_t round = 0; round < 40; ++round) {
    RetrievalSettings settings;
    if (round % 2 == 1) {
      const double weights[] = {0.0, -1.0, 0.1, 2.5, 1e15, 1.0 / 3, 0.0001, -0.0};
      for (double* weight : {&settings.weights.name, &settings.weights.signature,
                             &settings.weights.path, &settings.weights.docstring,
                             &settings.file_weights.names, &settings.file_weights.docstrings}) {
        *weight = weights[below(std::size(weights))];
      }
    }
    if (round % 5 == 4) settings.tokenizer = tokenizers[round / 5 % 5];
    const std::size_t rows = round % 10 == 0 ? 1 : 1 + below(200);
    expect_equal(settings, table(rows, [&](std::size_t most) { return text(most); }), true,
                 questions(6));
  }
}

// More documents than are ranked at a time, terms that leave out many of them, and frequencies and
// gaps of more than one byte.
TEST_F(PostingListsTest, EqualSqliteOnALargeTable) {
  const auto field = [&](std::size_t) -> std::string {
    switch (below(4000)) {
      case 0:
        return "rare";
      case 1:
        return text(500);
      default:
        return below(20) == 0 ? text(2) : "";
    }
  };
  expect_equal({.weights = {.name = 0.1, .docstring = 1.0 / 3}}, table(13'000, field), true,
               {{"rare"}, {"sky", "rare", "rare"}, {"parsed", "42", "caresses", "configs"}});
}

TEST_F(PostingListsTest, EqualSqliteWhereAllRowsAreAlike) {
  expect_equal({}, table(50, [](std::size_t) { return "parse config"; }), true, questions(5));
  expect_equal({}, table(50, [](std::size_t) { return ""; }), true, questions(2));
  // The norm of a row of average length is 1.2: a sum of zero, and so an infinite score.
  int column = 0;
  const auto one_word = [&](std::size_t) { return column++ % 4 == 0 ? "parse" : ""; };
  expect_equal({.weights = {.name = -1.2}}, table(20, one_word), true,
               {{"parse"}, {"parsed", "x"}});
}

// FTS5 cuts a token, so that two longer words with one beginning are one to it.
TEST_F(PostingListsTest, CutTokensAsSqliteDoes) {
  const std::string longest(32768, 'b');
  const Terms words = {longest, longest + "x", longest + "y", longest.substr(1)};
  expect_equal({}, table(20, [&](std::size_t) { return words[below(4)] + " " + words[below(4)]; }),
               true, {{words[0]}, {words[1], words[3]}, {words[2]}});
}

// Where a word is not one token, or words run together, the tables rank.
TEST_F(PostingListsTest, LeaveOtherTokenizersToTheTables) {
  const auto words = [&](std::size_t) { return below(2) == 0 ? "parse" : "parse config 42"; };
  expect_equal({.tokenizer = "unicode61 tokenchars '' ''"}, table(30, words), false, {{"parse"}});
  expect_equal({.tokenizer = "unicode61 categories ''L*''"}, table(30, words), false,
               {{"parse"}, {"42", "config"}});
  const auto short_words = [&](std::size_t) { return below(2) == 0 ? "abc def" : "def"; };
  expect_equal({.tokenizer = "trigram"}, table(30, short_words), false, {{"abc", "def"}});
  expect_equal({}, TextDocuments(), false, {{"parse"}});
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
