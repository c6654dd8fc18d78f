#include "index/catalog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

using test::TemporaryFolder;

constexpr const char* PATHS[] = {"a.c", "a/b.c", "a/b/c.c", "ab/c.c", "a/\u00E9.c", "a/b.h"};

// Symbols of few names, kinds and places, so that much is equal.
std::vector<Symbol> random_symbols(std::mt19937& random) {
  std::vector<Symbol> symbols;
  for (int i = 0; i < 300; ++i) {
    const std::string name(1 + random() % 2, static_cast<char>('a' + random() % 3));
    const auto line = static_cast<std::int64_t>(random() % 9 + 1);
    symbols.push_back({.id = 1000 - 3 * i,
                       .fqn = "m." + name,
                       .name = name,
                       .kind = random() % 3 == 0 ? "class" : "function",
                       .language = random() % 2 == 0 ? "c" : "go",
                       .path = PATHS[random() % std::size(PATHS)],
                       .start_line = line,
                       .end_line = line + static_cast<std::int64_t>(random() % 4),
                       .embeddings = {{"m", {1.0F}}}});
  }
  return symbols;
}

void import_all(Index& index, const std::vector<Symbol>& symbols) {
  index.replace([&, i = std::size_t{0}]() mutable {
    return i < symbols.size() ? std::optional(symbols[i++]) : std::nullopt;
  });
}

// As a repository's index holds them, whose ids it makes itself.
void put_all(Index& index, std::vector<Symbol>& symbols) {
  std::map<std::string, std::vector<Symbol>> files;
  for (const Symbol& symbol : symbols) files[symbol.path].push_back(symbol);
  index.update([&](Update& update) {
    update.set_made_by("1", 1);
    for (const auto& [path, held] : files) {
      update.put({.path = path, .language = "c", .hash = 1}, held);
    }
    update.put({.path = "bad.c", .skipped = "it is binary"}, {});
  });
  symbols.clear();
  index.read([&](const Catalog& catalog) { symbols = catalog.choose({}).symbols; });
}

bool is_in(const std::string& place, const std::string& path) {
  return place.empty() || path == place || path.starts_with(place + "/");
}

// What a choice means, the plain way.
std::vector<SymbolId> expected(std::vector<Symbol> symbols, const Choice& choice) {
  const auto grade = [&](const Symbol& symbol) {
    return choice.grade ? choice.grade(symbol.name, symbol.fqn) : 0;
  };
  std::erase_if(symbols, [&](const Symbol& symbol) {
    const bool kind = choice.kinds.empty() || std::ranges::count(choice.kinds, symbol.kind) > 0;
    const bool line =
        !choice.line || (symbol.start_line <= *choice.line && *choice.line <= symbol.end_line);
    return !kind || !line || !grade(symbol) || !is_in(choice.place, symbol.path);
  });
  std::ranges::sort(symbols, {}, [&](const Symbol& symbol) {
    const bool declared =
        choice.definitions_first && symbol.path == "a/b.h" && symbol.kind == "function";
    return std::tuple(*grade(symbol), declared, symbol.path, symbol.start_line, *symbol.id);
  });
  std::vector<SymbolId> ids;
  for (const Symbol& symbol : symbols) ids.push_back(*symbol.id);
  return ids;
}

TEST(Catalog, ChoosesAsThePlainWayDoes) {
  for (const bool imported : {true, false}) {
    const TemporaryFolder folder;
    const auto index = Index::open_or_create(folder.path() / "index.db");
    std::mt19937 random(7);
    std::vector<Symbol> symbols = random_symbols(random);
    imported ? import_all(*index, symbols) : put_all(*index, symbols);
    ASSERT_EQ(symbols.size(), 300U);
    for (int i = 0; i < 300; ++i) {
      Choice choice;
      choice.definitions_first = random() % 2 == 0;
      if (random() % 2 == 0) {
        choice.grade = [](std::string_view name, std::string_view) {
          return name == "aa" ? std::nullopt : std::optional(name == "b" ? 0 : 7);
        };
      }
      const char* const places[] = {"", "a", "a.c", "a/b", "a/b.c", "a/\u00E9.c", "b", "a/b/c.c"};
      choice.place = places[random() % std::size(places)];
      if (random() % 2 == 0) choice.kinds = {"class", "enum"};
      if (random() % 3 == 0) choice.line = random() % 12;
      const std::vector<SymbolId> all = expected(symbols, choice);
      choice.offset = random() % 4 == 0 ? random() % 400 : 0;
      if (random() % 2 == 0) choice.limit = random() % 20;
      std::vector<SymbolId> wanted, found;
      for (std::size_t at = choice.offset; at < all.size() && wanted.size() < choice.limit; ++at) {
        wanted.push_back(all[at]);
      }
      index->read([&](const Catalog& catalog) {
        const Chosen chosen = catalog.choose(choice);
        EXPECT_EQ(chosen.total, all.size());
        for (const Symbol& symbol : chosen.symbols) found.push_back(*symbol.id);
      });
      EXPECT_EQ(found, wanted) << choice.place << " " << imported;
    }
  }
}

TEST(Catalog, FindsThingsByName) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  std::vector<std::string_view> kinds = {"module"};
  for (const std::string_view kind : models::DECLARATION_KINDS.words()) kinds.push_back(kind);
  const char* const names[] = {"Request",  "X",        "request",  "REQUEST",   "HttpRequest",
                               "Request2", "Req uest", "_Request", "\u00C9tat", "R\u00E9p"};
  for (const std::string_view kind : kinds) {
    for (const std::string name : names) {
      import_all(
          *index,
          {{.fqn = name, .name = name, .kind = std::string(kind), .language = "c", .path = "a.c"}});
      const bool is_thing = !models::CALLABLE_KINDS.contains(kind);
      index->read([&](const Catalog& catalog) {
        EXPECT_EQ(catalog.has_thing(name), is_thing && (name == "Request" || name == "X"))
            << kind << ' ' << name;
        EXPECT_FALSE(catalog.has_thing("Other"));
      });
    }
  }
}

TEST(Catalog, CountsWhatThereIs) {
  const TemporaryFolder folder;
  const auto index = Index::open_or_create(folder.path() / "index.db");
  std::mt19937 random(7);
  std::vector<Symbol> symbols = random_symbols(random);
  const std::int64_t before = std::time(nullptr);
  import_all(*index, symbols);
  const auto classes = std::ranges::count(symbols, "class", &Symbol::kind);
  index->read([&](const Catalog& catalog) {
    const Summary summary = catalog.summary();
    EXPECT_EQ(summary.symbols, 300);
    EXPECT_EQ(summary.files, 6);
    EXPECT_EQ(summary.extraction, "");
    EXPECT_GE(summary.written, before);
    EXPECT_FALSE(summary.version.empty());
    ASSERT_EQ(summary.symbol_kinds.size(), 2U);
    EXPECT_EQ(summary.symbol_kinds[0].name, "function");
    EXPECT_EQ(summary.symbol_kinds[1].count, classes);
    ASSERT_EQ(summary.models.size(), 1U);
    EXPECT_EQ(summary.models[0].vectors, 300);
  });
  put_all(*index, symbols);
  index->read([&](const Catalog& catalog) {
    const Summary summary = catalog.summary();
    EXPECT_EQ(summary.files, 6) << "the one that was left out does not count";
    EXPECT_EQ(summary.file_languages.at(0).count, 6);
    EXPECT_EQ(catalog.file("bad.c")->skipped, "it is binary");
    EXPECT_EQ(catalog.file("a"), std::nullopt);
    EXPECT_TRUE(catalog.has_place("a") && catalog.has_place("a.c") && catalog.has_place(""));
    EXPECT_FALSE(catalog.has_place("a/"));
    EXPECT_EQ(catalog.files_ending("c.c", 9), (std::vector<std::string>{"a/b/c.c", "ab/c.c"}));
    EXPECT_EQ(catalog.files_ending("b/c.c", 9), std::vector<std::string>{"a/b/c.c"});
  });
}

}  // namespace
}  // namespace velmora::host::index
