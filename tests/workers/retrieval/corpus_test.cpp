#include "workers/retrieval/corpus.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <regex>
#include <set>

#include "support/log_capture.h"
#include "support/memory_repository.h"
#include "utils/unicode.h"

namespace velmora::workers::retrieval::internal {
namespace {

using testing::MemoryRepository;
using testing::Row;

using Ids = std::vector<SymbolId>;

Ids listed(std::span<const SymbolId> ids) { return {ids.begin(), ids.end()}; }

std::vector<std::string> names(std::span<const CorpusName> found) {
  std::vector<std::string> texts;
  for (const CorpusName& name : found) texts.emplace_back(name.name);
  return texts;
}

TEST(Corpus, GroupsSymbolsByFileAndName) {
  MemoryRepository index({{.id = 9, .name = "Parser", .path = "x"},
                          {.id = 5, .name = "parser", .path = "y", .kind = "constant"},
                          {.id = -2, .name = "PARSER", .path = "x"},
                          {.id = 3, .name = "parser", .path = "tests/z", .kind = "class"},
                          {.id = 4, .name = "\u212Aey", .path = "y", .signature = "Key()"}});
  const auto corpus = build_corpus(index, {"7"}, {});
  EXPECT_EQ(corpus->fingerprint, IndexFingerprint{"7"});
  // The type first wherever it lies, then functions by path and id, then the constant.
  EXPECT_EQ(listed(corpus->named("parser")), (Ids{3, -2, 9, 5}));
  EXPECT_EQ(listed(corpus->named("key")), Ids{4});  // the Kelvin sign is a k
  EXPECT_TRUE(corpus->named("Parser").empty());
  ASSERT_EQ(corpus->files.size(), 3u);
  EXPECT_EQ(corpus->files[0].path, "x");
  EXPECT_EQ(listed(corpus->files[0].symbols), (Ids{9, -2}));
  EXPECT_EQ(listed(corpus->files[1].symbols), (Ids{5, 4}));
  EXPECT_TRUE(corpus->files[2].in_tests);
  EXPECT_FALSE(corpus->files[1].in_tests);
  EXPECT_EQ(corpus->symbol(4),
            (RetrievedSymbol{4, "pkg.\u212Aey", "\u212Aey", "function", "y", 1, 2, "Key()"}));
  EXPECT_EQ(corpus->find(6), nullptr);
  EXPECT_THROW((void)corpus->symbol(6), std::out_of_range);
  EXPECT_EQ(index.symbol_reads, 1);
}

TEST(Corpus, NamesStartingWithAPrefixLeaveItOut) {
  std::vector<Row> rows;
  for (const char* name : {"part", "parsers", "pars", "parse", "parser", "\xFF"}) {
    rows.push_back({.id = static_cast<SymbolId>(rows.size()), .name = name});
  }
  MemoryRepository index(rows);
  const auto corpus = build_corpus(index, {}, {});
  EXPECT_EQ(names(corpus->names_starting_with("pars")),
            (std::vector<std::string>{"parse", "parser", "parsers"}));
  EXPECT_TRUE(corpus->names_starting_with("zz").empty());
  EXPECT_EQ(corpus->names_starting_with("").size(), 6u);
}

// The groupings, told with maps and sets.
TEST(Corpus, EqualsThePlainDefinition) {
  std::mt19937 random(4);
  const auto pick = [&](auto... values) {
    const std::vector<std::string> all = {values...};
    return all[random() % all.size()];
  };
  std::vector<Row> rows;
  std::set<SymbolId> ids = {INT64_MIN, INT64_MAX};
  while (ids.size() < 400) ids.insert(static_cast<SymbolId>(random() % 4000) - 2000);
  for (const SymbolId id : ids) {
    rows.push_back({.id = id,
                    .name = pick("a", "A", "aB", "ab", "abc", "\u00C9", "\u00E9", ""),
                    .path = pick("x", "y", "x/y", "x.y", "tests/x", "\u00E9"),
                    .kind = pick("class", "function", "module", "constant", "macro", "type")});
  }
  std::shuffle(rows.begin(), rows.end(), random);
  MemoryRepository index(rows);
  const auto corpus = build_corpus(index, {}, {});

  std::map<std::string, std::set<std::tuple<int, std::string, SymbolId>>> by_name;
  std::map<std::string, Ids> by_file;
  for (const Row& row : rows) {
    const bool callable = row.kind == "function" || row.kind == "macro" || row.kind == "module";
    by_name[utils::lowercase(row.name)].emplace(row.kind == "constant" ? 2 : callable, row.path,
                                                row.id);
    by_file[row.path].push_back(row.id);
    EXPECT_EQ(corpus->symbol(row.id).path, row.path);
  }
  ASSERT_EQ(corpus->names.size(), by_name.size());
  auto name = corpus->names.begin();
  for (const auto& [text, keys] : by_name) {
    Ids expected;
    for (const auto& key : keys) expected.push_back(std::get<SymbolId>(key));
    EXPECT_EQ(name->name, text);
    EXPECT_EQ(listed(name->symbols), expected);
    EXPECT_EQ(listed(corpus->named(text)), expected);
    ++name;
  }
  for (const CorpusFile& file : corpus->files) {
    EXPECT_EQ(listed(file.symbols), by_file[std::string(file.path)]);
  }
}

TEST(Corpus, IndexesTheTextsOfBothTables) {
  MemoryRepository index({{.id = 1,
                           .name = "getUser",
                           .path = "src/web",
                           .signature = "(limit)",
                           .docstring = "Reads the users."},
                          {.id = 2, .name = "the", .path = "src/web", .docstring = "of"},
                          {.id = 3, .name = "putUser", .path = "src/db", .docstring = "Writes."}});
  const auto corpus = build_corpus(index, {}, {});
  const auto matching = [&](TextTable table, const std::string& term) {
    std::vector<RowId> rows =
        corpus->text->search(std::array{term})(table, 9, [](RowId) { return true; });
    std::sort(rows.begin(), rows.end());
    return rows;
  };
  using Rows = std::vector<RowId>;
  EXPECT_EQ(matching(TextTable::symbols, "web"), (Rows{1, 2}));
  EXPECT_EQ(matching(TextTable::symbols, "limit"), (Rows{1}));
  EXPECT_EQ(matching(TextTable::symbols, "user"), (Rows{1, 3}));
  EXPECT_EQ(matching(TextTable::files, "user"), (Rows{1, 2}));
  EXPECT_EQ(matching(TextTable::files, "writes"), (Rows{2}));
  EXPECT_EQ(matching(TextTable::files, "limit"), (Rows{}));  // signatures are the symbols' own
}

TEST(Corpus, LogsWhatItBuilt) {
  const testing::LogCapture log(logging::Level::debug);
  MemoryRepository index({{.id = 1, .name = "a"}, {.id = 2, .name = "b", .path = "test/x"}});
  (void)build_corpus(index, {}, {.tokenizer = "nonesuch"});
  MemoryRepository empty;
  EXPECT_NE(build_corpus(empty, {}, {})->text, nullptr);
  ASSERT_EQ(log.lines().size(), 3u);  // first the warning of the missing tokenizer
  const std::string start = "DEBUG velmora.workers.retrieval: Retrieval corpus built: ";
  EXPECT_TRUE(std::regex_match(
      log.lines()[1],
      std::regex(start + "2 symbols in 2 files \\(1 symbols in test files\\) in [0-9]+ ms")))
      << log.lines()[1];
  EXPECT_TRUE(std::regex_match(
      log.lines()[2],
      std::regex(start + "0 symbols in 0 files \\(0 symbols in test files\\) in [0-9]+ ms")))
      << log.lines()[2];
}

TEST(Corpus, UnknownKindFailsBeforeAnyTableIsMade) {
  const testing::LogCapture log(logging::Level::debug);
  MemoryRepository index({{.id = 1, .name = "a", .kind = "variable"}});
  index.filters = false;
  for (const char* tokenizer : {"porter unicode61", "nonesuch"}) {
    EXPECT_THROW((void)build_corpus(index, {}, {.tokenizer = tokenizer}), std::out_of_range);
  }
  EXPECT_TRUE(log.lines().empty());  // not even the warning of the missing tokenizer
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
