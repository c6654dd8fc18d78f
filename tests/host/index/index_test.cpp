#include "velmora/host/index/index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "support/temporary_folder.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;
using storage::NearestPair;
using test::TemporaryFolder;

Symbol symbol(std::optional<SymbolId> id, const std::string& name) {
  return {.id = id,
          .fqn = "pkg." + name,
          .name = name,
          .kind = "function",
          .language = "python",
          .path = "src/" + name + ".py",
          .start_line = 1,
          .end_line = 2};
}

std::function<std::optional<Symbol>()> each(std::vector<Symbol> symbols) {
  return [symbols = std::move(symbols), i = std::size_t{0}]() mutable -> std::optional<Symbol> {
    return i < symbols.size() ? std::optional(symbols[i++]) : std::nullopt;
  };
}

// The rows of some languages and kinds, each as one line.
std::vector<std::string> rows(Index& index, std::vector<std::string_view> languages = {"python"},
                              std::vector<std::string_view> kinds = {"function"}) {
  std::vector<std::string> lines;
  const auto cursor = index.retrievable_code_symbols(languages, kinds);
  while (const storage::SymbolRow* row = cursor->next()) {
    lines.push_back(std::to_string(row->id) + " " + std::string(row->fqn) + " " +
                    std::string(row->path) + ":" + std::to_string(row->start_line) + " " +
                    std::string(row->signature.value_or("-")));
  }
  return lines;
}

// The message of the error that `action` throws.
template <class Error, class Action>
std::string message_of(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error.what();
  }
  return "no error";
}

TEST(Index, StreamsTheWantedSymbolsById) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "deep" / "index.db");
  Symbol other_language = symbol(4, "go");
  other_language.language = "markdown";
  Symbol other_kind = symbol(5, "variable");
  other_kind.kind = "variable";
  Symbol full = symbol(-9, "first");
  full.signature = std::string("def \0\xFF", 6);
  full.docstring = "";
  // Ids: 7 is given, the next is 7 + 1, then 4 and 5 are given, and the largest so far is still 8.
  EXPECT_EQ(index->replace(each({symbol(7, "b"), symbol({}, "c"), other_language, other_kind,
                                 symbol({}, "d"), full})),
            6);
  EXPECT_EQ(rows(*index),
            (std::vector<std::string>{"-9 pkg.first src/first.py:1 " + *full.signature,
                                      "7 pkg.b src/b.py:1 -", "8 pkg.c src/c.py:1 -",
                                      "9 pkg.d src/d.py:1 -"}));
  EXPECT_TRUE(rows(*index, {"rust"}).empty());
  EXPECT_TRUE(rows(*index, {"python"}, {}).empty());
  const auto found = index->get_symbols_by_ids(std::vector<SymbolId>{7, -9, 1000});
  EXPECT_EQ(found.size(), 2U);
  EXPECT_EQ(found.at(7).docstring, std::nullopt);
  EXPECT_EQ(found.at(-9).docstring, "");
}

TEST(Index, ReplacesAllOrNothing) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "index.db";
  const auto index = Index::open_or_create(file);
  index->replace(each({symbol(1, "kept")}));
  const auto fingerprint = index->retrieval_fingerprint();

  const float infinity = std::numeric_limits<float>::infinity();
  const auto embedded = [](std::vector<SymbolEmbedding> embeddings) {
    Symbol made = symbol(2, "bad");
    made.embeddings = std::move(embeddings);
    return made;
  };
  const std::vector<std::pair<Symbol, std::string>> refused = {
      {symbol(1, "again"), "the id 1 is repeated"},
      {embedded({{"m", {}}}), "the vector of model m is empty"},
      {embedded({{"m", {0.0F, -0.0F}}}), "the vector of model m is all zero"},
      {embedded({{"m", {1.0F, infinity}}}),
       "the vector of model m holds a value that is not finite"},
      {embedded({{"m", {1.0F}}, {"m", {2.0F}}}), "the model m embeds symbol 2 twice"},
  };
  for (const auto& [bad, message] : refused) {
    EXPECT_EQ(message_of<std::invalid_argument>([&] {
                index->replace(each({symbol(1, "new"), bad}));
              }),
              message);
  }
  EXPECT_EQ(message_of<std::invalid_argument>([&] {
              index->replace(each(
                  {symbol(std::numeric_limits<SymbolId>::max(), "last"), symbol({}, "beyond")}));
            }),
            "there is no id left after 9223372036854775807");
  EXPECT_EQ(message_of<std::runtime_error>([&] {
              index->replace([n = 0]() mutable -> std::optional<Symbol> {
                if (n++ == 0) return symbol({}, "lost");
                throw std::runtime_error("the source failed");
              });
            }),
            "the source failed");
  EXPECT_EQ(rows(*index), std::vector<std::string>{"1 pkg.kept src/kept.py:1 -"});
  EXPECT_EQ(index->retrieval_fingerprint(), fingerprint);
}

TEST(Index, FingerprintIsNeverRepeated) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "index.db";
  std::set<std::string> seen;
  auto index = Index::open_or_create(file);
  const auto changed = [&] { return seen.insert(index->retrieval_fingerprint().value).second; };
  EXPECT_TRUE(changed());
  index->replace(each({symbol({}, "a")}));
  EXPECT_TRUE(changed());
  EXPECT_FALSE(changed());
  index->replace(each({symbol({}, "a")}));
  EXPECT_TRUE(changed());

  // Deleted and made anew under an open index, with a cursor in the middle of the earlier file.
  auto cursor = index->retrievable_code_symbols(std::vector<std::string_view>{"python"},
                                                std::vector<std::string_view>{"function"});
  ASSERT_NE(cursor->next(), nullptr);
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(file.string() + suffix);
  EXPECT_NE(message_of<IndexError>([&] {
              index->retrieval_fingerprint();
            }).find("There is no index at " + file.string()),
            std::string::npos);
  Index::open_or_create(file)->replace(each({symbol({}, "b")}));
  EXPECT_TRUE(changed());
  EXPECT_EQ(rows(*index), std::vector<std::string>{"1 pkg.b src/b.py:1 -"});
  EXPECT_EQ(cursor->next(), nullptr);
  cursor.reset();

  // A copy that goes its own way from the same state.
  index.reset();
  fs::copy(file, folder.path() / "copy.db", fs::copy_options::overwrite_existing);
  index = Index::open(folder.path() / "copy.db");
  EXPECT_FALSE(changed());
  index->replace(each({symbol({}, "c")}));
  EXPECT_TRUE(changed());
  index = Index::open(file);
  index->replace(each({symbol({}, "d")}));
  EXPECT_TRUE(changed());
}

TEST(Index, OpensNothingElse) {
  const TemporaryFolder folder;
  const fs::path text = folder.write("notes.txt", std::string(5000, 'x'));
  const fs::path empty = folder.write("empty.db", "");
  const fs::path foreign = folder.path() / "foreign.db";
  const fs::path future = folder.path() / ".velmora" / "index.db";
  const fs::path unfilled = folder.path() / "unfilled.db";
  storage::Database(foreign, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
      .execute("CREATE TABLE other(x); INSERT INTO other VALUES(1)");
  Index::open_or_create(future)->replace(each({symbol({}, "a")}));
  storage::Database(future, SQLITE_OPEN_READWRITE).execute("PRAGMA user_version = 99");
  const auto held = Index::open_or_create(unfilled);

  const auto error = [](const fs::path& file) {
    return message_of<IndexError>([&] { static_cast<void>(Index::open(file)); });
  };
  const std::string at = folder.path().string();
  EXPECT_EQ(error(folder.path() / "none" / ".velmora" / "index.db"),
            "There is no index at " + at +
                "/none/.velmora/index.db. Make one with: velmora index " + at + "/none");
  for (const fs::path& file : {empty, unfilled}) {
    EXPECT_EQ(error(file), "There is no index at " + file.string() +
                               ". Make one with: velmora import --index " + file.string() +
                               " ROWS.jsonl");
  }
  for (const fs::path& file : {text, foreign}) {
    EXPECT_EQ(error(file).find(file.string() + " is not an index of velmora. "), 0U);
    EXPECT_THROW(static_cast<void>(Index::open_or_create(file)), IndexError);
  }
  EXPECT_EQ(error(future), "The index at " + future.string() +
                               " has format 99, and this version of velmora reads format 1. Remove"
                               " the file and make it anew with: velmora index " +
                               at);
  EXPECT_EQ(fs::file_size(text), 5000U);
}

TEST(Index, RemovesAFileThatItMadeAndDidNotFill) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "index.db";
  EXPECT_ANY_THROW(Index::open_or_create(file)->replace(each({symbol(1, "a"), symbol(1, "b")})));
  EXPECT_TRUE(fs::is_empty(folder.path()));
  Index::open_or_create(file)->replace(each({symbol(1, "a")}));
  EXPECT_ANY_THROW(Index::open_or_create(file)->replace(each({symbol(1, "a"), symbol(1, "b")})));
  EXPECT_EQ(rows(*Index::open(file)).size(), 1U);
}

// Every vector of the model by a plain loop, sorted as a whole.
std::vector<NearestPair> plain_nearest(const std::vector<Symbol>& symbols,
                                       const std::vector<float>& query, const std::string& model) {
  std::vector<NearestPair> pairs;
  for (const Symbol& symbol : symbols) {
    for (const SymbolEmbedding& embedding : symbol.embeddings) {
      if (embedding.model != model) continue;
      double dot = 0.0, left = 0.0, right = 0.0;
      for (std::size_t i = 0; i < query.size(); ++i) {
        const double a = query[i], b = embedding.values[i];
        dot += a * b, left += a * a, right += b * b;
      }
      pairs.push_back({.id = *symbol.id, .similarity = dot / std::sqrt(left) / std::sqrt(right)});
    }
  }
  std::sort(pairs.begin(), pairs.end(), [](const NearestPair& a, const NearestPair& b) {
    // Small whole numbers: cosines that differ at all differ by far more than rounding.
    if (std::abs(a.similarity - b.similarity) > 1e-12) return a.similarity > b.similarity;
    return a.id < b.id;
  });
  return pairs;
}

TEST(Index, NearestIsExactWithTiesByLowerId) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  std::mt19937 random(20240611);
  for (const std::size_t length : {1U, 3U, 8U, 21U}) {
    const auto vector = [&] {
      std::vector<float> values(length);
      for (float& value : values) value = static_cast<float>(static_cast<int>(random() % 5) - 2);
      values[random() % length] = 1.0F;  // never all zero
      return values;
    };
    std::vector<Symbol> symbols;
    for (SymbolId id = -50; id < 50; ++id) {
      Symbol made = symbol(id, "s");
      if (random() % 4 != 0) made.embeddings.push_back({"m", vector()});
      if (random() % 4 != 0) made.embeddings.push_back({"other", {1.0F, 2.0F}});
      symbols.push_back(made);
    }
    std::shuffle(symbols.begin(), symbols.end(), random);
    index->replace(each(symbols));
    for (int round = 0; round < 20; ++round) {
      const std::vector<float> query = vector();
      std::vector<NearestPair> expected = plain_nearest(symbols, query, "m");
      const auto top_k = static_cast<std::int64_t>(1 + random() % 100);
      expected.resize(std::min(expected.size(), static_cast<std::size_t>(top_k)));
      const auto got = index->nearest_symbol_ids(query, "m", {.top_k = top_k});
      ASSERT_EQ(got.size(), expected.size());
      for (std::size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].id, expected[i].id);
        EXPECT_NEAR(got[i].similarity, expected[i].similarity, 1e-12);
      }
    }
  }
}

TEST(Index, NearestRefusesWhatCannotBeCompared) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  Symbol two = symbol(1, "two");
  two.embeddings = {{"m", {1.0F, 2.0F}}, {"mixed", {1.0F}}};
  Symbol three = symbol(2, "three");
  three.embeddings = {{"mixed", {1.0F, 2.0F, 3.0F}}};
  index->replace(each({two, three}));
  const auto error = [&](std::vector<float> query, const char* model, std::int64_t top_k = 5) {
    return message_of<std::invalid_argument>(
        [&] { index->nearest_symbol_ids(query, model, {.top_k = top_k}); });
  };
  EXPECT_EQ(error({1.0F}, "m"),
            "the query's vector has 1 values, and a stored vector of the model m has 2");
  EXPECT_EQ(error({1.0F}, "mixed"),
            "the query's vector has 1 values, and a stored vector of the model mixed has 3");
  EXPECT_EQ(error({0.0F, 0.0F}, "m"), "the query's vector is all zero");
  EXPECT_EQ(error({1.0F, std::nanf("")}, "none"),
            "the query's vector holds a value that is not finite");
  EXPECT_EQ(error({1.0F, 1.0F}, "m", 0), "top_k must be at least 1");
  EXPECT_TRUE(index->nearest_symbol_ids(std::vector{1.0F}, "none", {.top_k = 1}).empty());
}

// Every state of the index holds as many symbols as its first one's name says, all with that name
// and with one vector each.
TEST(Index, ReadersSeeWholeStatesWhileAnotherWrites) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "index.db";
  const auto fill = [&](Index& index, int count) {
    std::vector<Symbol> symbols(static_cast<std::size_t>(count), symbol({}, std::to_string(count)));
    for (Symbol& made : symbols) made.embeddings = {{"m", {1.0F, 1.0F}}};
    index.replace(each(std::move(symbols)));
  };
  const auto writer = Index::open_or_create(file);
  fill(*writer, 1);
  const auto index = Index::open(file);
  std::atomic<bool> done = false;
  std::atomic<int> torn = 0;
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&] {
      while (!done) {
        static_cast<void>(index->retrieval_fingerprint());
        const std::vector<std::string> lines = rows(*index);
        const std::string last =
            std::to_string(lines.size()) + " pkg." + std::to_string(lines.size());
        if (lines.empty() || lines.back().find(last + " ") != 0) ++torn;
        const std::vector<float> query = {1.0F, 0.0F};
        const auto near = index->nearest_symbol_ids(query, "m", {.top_k = 1000});
        if (near.empty() || near.back().id != static_cast<SymbolId>(near.size())) ++torn;
        if (index->get_symbols_by_ids(std::vector<SymbolId>{1}).size() != 1) ++torn;
      }
    });
  }
  for (int count = 2; count <= 60; ++count) fill(*writer, count);
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(rows(*index).size(), 60U);
}

}  // namespace
}  // namespace velmora::host::index
