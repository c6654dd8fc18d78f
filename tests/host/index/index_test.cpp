#include "velmora/host/index/index.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "index/connection.h"
#include "support/temporary_folder.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;
using storage::NearestPair;
using test::TemporaryFolder;

Symbol symbol(std::optional<SymbolId> id, const std::string& name) {
  const std::string path = "src/" + name + ".py";
  return {id, "pkg." + name, name, "function", "python", path, 1, 2, {}, {}, {}};
}

std::function<std::optional<Symbol>()> each(std::vector<Symbol> symbols) {
  return [symbols = std::move(symbols), i = std::size_t{0}]() mutable -> std::optional<Symbol> {
    return i < symbols.size() ? std::optional(symbols[i++]) : std::nullopt;
  };
}

// The rows of one language and kind, each as one line.
std::vector<std::string> rows(Index& index, std::string_view language = "python") {
  std::vector<std::string> lines;
  const std::vector<std::string_view> languages = {"c", language}, kinds = {"function", "class"};
  const auto cursor = index.retrievable_code_symbols(languages, kinds);
  while (const storage::SymbolRow* row = cursor->next()) {
    lines.push_back(std::to_string(row->id) + " " + std::string(row->fqn) + " " +
                    std::string(row->path) + " " + std::string(row->signature.value_or("-")));
  }
  return lines;
}

// The message of the error that `action` throws.
template <class Error = std::exception>
std::string message_of(const std::function<void()>& action) {
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
  Symbol prose = symbol(4, "prose"), variable = symbol(5, "variable"), full = symbol(-9, "first");
  prose.language = "markdown";
  variable.kind = "variable";
  full.signature = std::string("def \0\xFF", 6);
  full.docstring = "";
  // The ids 8 and 9 are given out: the largest so far, and one.
  const std::vector<Symbol> symbols = {symbol(7, "b"), symbol({}, "c"), prose,
                                       variable,       symbol({}, "d"), full};
  EXPECT_EQ(index->replace(each(symbols)), 6);
  EXPECT_EQ(rows(*index), (std::vector<std::string>{"-9 pkg.first src/first.py " + *full.signature,
                                                    "7 pkg.b src/b.py -", "8 pkg.c src/c.py -",
                                                    "9 pkg.d src/d.py -"}));
  EXPECT_TRUE(rows(*index, "rust").empty());
  const auto found = index->get_symbols_by_ids(std::vector<SymbolId>{7, -9, 1000});
  EXPECT_EQ(found.size(), 2U);
  EXPECT_EQ(found.at(7).docstring, std::nullopt);
  EXPECT_EQ(found.at(-9).docstring, "");
}

TEST(Index, ReplacesAllOrNothing) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  index->replace(each({symbol(1, "kept")}));
  const auto fingerprint = index->retrieval_fingerprint();
  const std::vector<std::pair<std::vector<SymbolEmbedding>, std::string>> refused = {
      {{{"m", {}}}, "the vector of model m is empty"},
      {{{"m", {0.0F, -0.0F}}}, "the vector of model m is all zero"},
      {{{"m", {1.0F, INFINITY}}}, "the vector of model m holds a value that is not finite"},
      {{{"m", {1.0F}}, {"m", {2.0F}}}, "the model m embeds symbol 2 twice"},
  };
  for (const auto& [embeddings, message] : refused) {
    Symbol bad = symbol(2, "bad");
    bad.embeddings = embeddings;
    const auto fill = [&] { index->replace(each({symbol(1, "new"), bad})); };
    EXPECT_EQ(message_of<std::invalid_argument>(fill), message);
  }
  const Symbol last = symbol(std::numeric_limits<SymbolId>::max(), "last");
  EXPECT_EQ(message_of([&] {
              index->replace(each({last, symbol({}, "beyond")}));
            }),
            "there is no id left after 9223372036854775807");
  const auto failing = [n = 0]() mutable {
    return n++ == 0 ? std::optional(symbol({}, "lost")) : throw std::runtime_error("it failed");
  };
  EXPECT_EQ(message_of([&] { index->replace(failing); }), "it failed");
  EXPECT_EQ(rows(*index), std::vector<std::string>{"1 pkg.kept src/kept.py -"});
  EXPECT_EQ(index->retrieval_fingerprint(), fingerprint);
}

TEST(Index, FingerprintIsNeverRepeated) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "index.db", copy = folder.path() / "copy.db";
  std::set<std::string> seen;
  auto index = Index::open_or_create(file);
  const auto is_new = [&] { return seen.insert(index->retrieval_fingerprint().value).second; };
  const auto change = [&] { index->replace(each({symbol({}, "a")})); };
  EXPECT_TRUE(is_new());
  change();
  EXPECT_TRUE(is_new());
  EXPECT_FALSE(is_new());

  // Deleted and made anew under an open index.
  remove_index(file);
  EXPECT_EQ(message_of<IndexError>([&] {
              index->retrieval_fingerprint();
            }).find("There is no index at " + file.string()),
            0U);
  Index::open_or_create(file)->replace(each({symbol({}, "b")}));
  EXPECT_TRUE(is_new());
  EXPECT_EQ(rows(*index), std::vector<std::string>{"1 pkg.b src/b.py -"});

  // A copy that goes its own way from the same state.
  index.reset();
  fs::copy(file, copy);
  for (const fs::path& path : {file, copy}) {
    index = Index::open(path);
    EXPECT_FALSE(is_new());
    change();
    EXPECT_TRUE(is_new());
  }
}

TEST(Index, OpensNothingElse) {
  const TemporaryFolder folder;
  const std::string at = folder.path(), future = at + "/.velmora/index.db";
  const fs::path text = folder.write("notes.txt", std::string(5000, 'x'));
  const fs::path foreign = folder.path() / "foreign.db";
  storage::Database(foreign, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
      .execute("CREATE TABLE other(x)");
  Index::open_or_create(future)->replace(each({symbol({}, "a")}));
  connect(future, 0).execute("PRAGMA user_version = 99");
  const auto held = Index::open_or_create(at + "/unfilled.db");

  const auto error = [](const fs::path& file) {
    return message_of<IndexError>([&] { static_cast<void>(Index::open(file)); });
  };
  EXPECT_EQ(error(at + "/none/.velmora/index.db"),
            "There is no index at " + at +
                "/none/.velmora/index.db. Make one with: velmora index " + at + "/none");
  for (const fs::path& file : {folder.write("empty.db", ""), folder.path() / "unfilled.db"}) {
    EXPECT_EQ(error(file), "There is no index at " + file.string() +
                               ". Make one with: velmora import --index " + file.string() +
                               " ROWS.jsonl");
  }
  for (const fs::path& file : {text, foreign}) {
    EXPECT_EQ(error(file).find(file.string() + " is not an index of velmora. "), 0U);
    EXPECT_THROW(static_cast<void>(Index::open_or_create(file)), IndexError);
  }
  EXPECT_EQ(error(future).find("The index at " + future + " has format 99"), 0U);
  EXPECT_EQ(fs::file_size(text), 5000U);
}

// Every vector by a plain loop.
std::vector<NearestPair> plain_nearest(const std::vector<Symbol>& symbols,
                                       const std::vector<float>& query) {
  std::vector<NearestPair> pairs;
  for (const Symbol& symbol : symbols) {
    double dot = 0.0, left = 0.0, right = 0.0;
    for (std::size_t i = 0; i < query.size(); ++i) {
      const double a = query[i], b = symbol.embeddings.front().values[i];
      dot += a * b, left += a * a, right += b * b;
    }
    pairs.push_back({.id = *symbol.id, .similarity = dot / std::sqrt(left) / std::sqrt(right)});
  }
  return pairs;
}

// Without its lock, the next process to close the index would take it for its own alone and remove
// the log that this one goes on writing.
TEST(Index, WriterKeepsItsLockOnTheFile) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "index.db";
  const auto index = Index::open_or_create(file);
  EXPECT_TRUE(rows(*index).empty());
  index->replace(each({symbol({}, "a")}));
  EXPECT_EQ(rows(*index).size(), 1U);
  const int other = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  // The bytes that SQLite's readers lock; asked as another process would.
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_start = 0x40000002;
  lock.l_len = 510;
  EXPECT_EQ(::fcntl(other, F_OFD_GETLK, &lock), 0);
  EXPECT_EQ(lock.l_type, F_RDLCK);
  ::close(other);
}

// The vectors of the program's own model are kept in a byte a number.
TEST(Index, OwnModelKeepsDirections) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  std::mt19937 random(20250301);
  constexpr std::size_t LENGTH = 1100;
  std::vector<Symbol> symbols;
  std::vector<float> last(LENGTH, 1e-30F);  // as large as sums get
  for (SymbolId id = 1; id <= 20; ++id) {
    symbols.push_back(symbol(id, "s"));
    symbols.back().start_line = id;
    for (float& value : last) value += id == 1 ? 0.0F : 1e-30F * static_cast<float>(random() % 9);
    symbols.back().embeddings = {{"m", last}};
  }
  index->replace(each({}));
  index->update([&](Update& update) {
    FileRecord file;
    file.path = "a.py";
    update.put(file, symbols);
    const auto vector_of = [&](const storage::SymbolRow& row, auto, std::span<float> vector) {
      Symbol& made = symbols.at(static_cast<std::size_t>(row.start_line) - 1);
      made.id = row.id;
      std::ranges::copy(made.embeddings[0].values, vector.begin());
      return true;
    };
    EXPECT_EQ(update.embed("m", LENGTH, vector_of), 20);
    EXPECT_EQ(update.embed("m", LENGTH, vector_of), 0);
  });
  for (const std::size_t query : {0U, 7U, 19U}) {
    const auto& values = symbols[query].embeddings[0].values;
    const auto got = index->nearest_symbol_ids(values, "m", {.top_k = 99});
    ASSERT_EQ(got.size(), 20U);
    EXPECT_EQ(got[0].id, symbols[query].id);
    for (const NearestPair& pair : plain_nearest(symbols, values)) {
      const auto same = std::ranges::find(got, pair.id, &NearestPair::id);
      EXPECT_NEAR(same->similarity, pair.similarity, 2e-3);
    }
  }
}

TEST(Index, NearestRefusesWhatCannotBeCompared) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  Symbol one = symbol(1, "one"), two = symbol(2, "two");
  one.embeddings = {{"m", {1.0F, 2.0F}}, {"mixed", {1.0F}}};
  two.embeddings = {{"mixed", {1.0F, 2.0F, 3.0F}}};
  index->replace(each({one, two}));
  const auto error = [&](std::vector<float> query, const char* model, std::int64_t top_k = 5) {
    return message_of<std::invalid_argument>(
        [&] { index->nearest_symbol_ids(query, model, {.top_k = top_k}); });
  };
  const std::string lengths = "the query's vector has 1 values, and a stored vector of the model ";
  EXPECT_EQ(error({1.0F}, "m"), lengths + "m has 2");
  EXPECT_EQ(error({1.0F}, "mixed"), lengths + "mixed has 3");
  EXPECT_EQ(error({0.0F, 0.0F}, "m"), "the query's vector is all zero");
  EXPECT_EQ(error({NAN}, "none"), "the query's vector holds a value that is not finite");
  EXPECT_EQ(error({1.0F, 1.0F}, "m", 0), "top_k must be at least 1");
  EXPECT_EQ(error({1.0F}, "none"), "no error");
  // The vectors of other models are none of it.
  EXPECT_EQ(index->nearest_symbol_ids(std::vector{1.0F, 2.0F}, "m", {.top_k = 5}).size(), 1U);
}

// A state of N symbols names each of them N and gives each a vector, so a torn state shows.
TEST(Index, ReadersSeeWholeStatesWhileAnotherWrites) {
  const TemporaryFolder folder;
  const auto writer = Index::open_or_create(folder.path() / "index.db");
  const auto fill = [&](std::size_t count) {
    std::vector<Symbol> symbols(count, symbol({}, std::to_string(count)));
    for (Symbol& made : symbols) made.embeddings = {{"m", {1.0F, 1.0F}}};
    writer->replace(each(std::move(symbols)));
  };
  fill(1);
  const auto index = Index::open(folder.path() / "index.db");
  std::atomic<bool> done = false;
  std::atomic<int> torn = 0;
  std::vector<std::thread> readers(4);
  for (std::thread& reader : readers) {
    reader = std::thread([&] {
      while (!done) {
        const std::vector<std::string> lines = rows(*index);
        const std::string count = std::to_string(lines.size());
        if (lines.empty() || lines.back().find(count + " pkg." + count + " ") != 0) ++torn;
        const auto near = index->nearest_symbol_ids(std::vector{1.0F, 0.0F}, "m", {.top_k = 99});
        if (near.empty() || near.back().id != static_cast<SymbolId>(near.size())) ++torn;
        if (index->get_symbols_by_ids(std::vector<SymbolId>{1}).size() != 1) ++torn;
      }
    });
  }
  for (std::size_t count = 2; count <= 60; ++count) fill(count);
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(rows(*index).size(), 60U);
}

}  // namespace
}  // namespace velmora::host::index
