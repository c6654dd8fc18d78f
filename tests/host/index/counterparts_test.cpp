#include "index/counterparts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "index/catalog.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

TEST(Counterparts, ArePartsOfOneThing) {
  struct Case {
    Part a, b;
    bool expected;
  };
  const auto c = [](const char* path, const char* signature) {
    return Part{"c", "function", path, signature};
  };
  const auto member = [](const char* signature) {
    return Part{"cpp", "method", "src/shape.cpp", signature};
  };
  const auto type = [](const char* path, const char* signature) {
    return Part{"csharp", "class", path, signature};
  };
  const Case cases[] = {
      {c("include/q.h", "push(queue_t *queue, struct job) -> int"),
       {"cpp", "function", "src/q.cc", "push(queue_t *q, struct job next) -> int"},
       true},
      {c("q.h", "size(void) -> int"), c("q.c", "size() -> int"), true},
      {c("q.h", "run(int (*job)(int, void *), unsigned int) -> int"),
       c("q.c", "run(int (*job)(int, void *), unsigned int n) -> int"), true},
      // Files that are no headers have functions of one name for themselves, as have tests.
      {c("a.c", "usage(void) -> void"), c("b.c", "usage(void) -> void"), false},
      {c("q.h", "push(int) -> int"), c("q.c", "push(long) -> int"), false},
      {c("q.h", "push(unsigned int) -> int"), c("q.c", "push(unsigned long) -> int"), false},
      {c("q.h", "push(const job) -> int"), c("q.c", "push(const queue) -> int"), false},
      {c("q.h", "push(int, int) -> int"), c("q.c", "push(int) -> int"), false},
      {member("Shape::make(const char* name, int sides = f(3, 4), Map<int, int> m = {}) -> Shape*"),
       member("Shape::make(const char* n, int sides, Map<int, int> m) -> Shape*"), true},
      {member("Shape::get() const -> T"), member("Shape::get() -> T&"), false},
      {member("Shape::operator()(int x) -> T"), member("Shape::operator()(int) -> T"), true},
      {member("Shape::operator()(int x) -> T"), member("Shape::operator()() -> T"), false},
      {type("a/L.cs", "Ledger<T> : Book"), type("a/L.Load.cs", "Ledger<T>"), true},
      {type("a/L.cs", "Ledger<T> : Book"), type("a/L.cs", "Ledger"), false},
      {type("a/Program.cs", "Program"), type("b/Program.cs", "Program"), false},
      {{"kotlin", "function", "lib/src/commonMain/kotlin/P.kt", "name(of: Int = 1): String"},
       {"kotlin", "function", "lib/src/jvmMain/kotlin/P.jvm.kt", "name(of: Int): String"},
       true},
      {{"kotlin", "function", "lib/src/main/P.kt", "name(of: Int): String"},
       {"kotlin", "function", "lib/src/main/P.kt", "name(of: Long): String"},
       false},
      {{"kotlin", "class", "lib/src/main/P.kt", "P"},
       {"kotlin", "class", "other/src/main/P.kt", "P"},
       false},
      {{"swift", "method", "a/R.swift", "Reader.close(at: (Int) -> Int)"},
       {"swift", "method", "a/R+.swift", "Reader.close(at: (Int) -> Int)"},
       true},
      {{"swift", "method", "a/R.swift", "Reader.size: Int"},
       {"swift", "method", "a/R+.swift", "Reader.size: Int"},
       true},
      {{"swift", "class", "a/R.swift", "R"}, {"swift", "class", "a/R.swift", "R"}, false},
  };
  const std::string longest = "f(" + std::string(LONGEST_PART - 3, 'x') + ")";
  EXPECT_TRUE(are_parts(c("f.h", longest.c_str()), c("f.c", longest.c_str())));
  EXPECT_FALSE(are_parts(c("f.h", (longest + " ").c_str()), c("f.c", (longest + " ").c_str())));
  for (const Case& one : cases) {
    EXPECT_EQ(are_parts(one.a, one.b), one.expected) << one.a.signature << " | " << one.b.signature;
    EXPECT_EQ(are_parts(one.b, one.a), one.expected) << one.b.signature << " | " << one.a.signature;
  }
}

// A tree of headers and sources, one function each, changed file by file.
class CounterpartsTest : public ::testing::Test {
 protected:
  static std::vector<Symbol> symbols(const std::string& path, const std::string& doc) {
    Symbol push{.fqn = "push",
                .name = "push",
                .kind = "function",
                .language = "c",
                .path = path,
                .start_line = 1,
                .end_line = 1,
                .signature = "push(int) -> int"};
    if (!doc.empty()) push.docstring = doc;
    return {push};
  }

  // What the model read, by path, with each symbol that it embedded in this update.
  std::map<std::string, std::string> put(const std::string& path, const std::string& doc) {
    std::map<std::string, std::string> read;
    index->update([&](Update& update) {
      FileRecord file;
      file.path = path;
      doc == "-" ? update.remove(path) : update.put(file, symbols(path, doc));
      const auto vector_of = [&](const storage::SymbolRow& row, std::string_view,
                                 std::span<float> vector) {
        read[std::string(row.path)] = row.docstring.value_or("none");
        vector[0] = 1.0F;
        return true;
      };
      update.embed("m", 1, vector_of);
      update.finish();
    });
    return read;
  }

  std::map<std::string, std::string> rows() {
    std::map<std::string, std::string> read;
    const std::vector<std::string_view> languages = {"c"}, kinds = {"function"};
    const auto cursor = index->retrievable_code_symbols(languages, kinds);
    while (const storage::SymbolRow* row = cursor->next()) {
      read[std::string(row->path)] = row->docstring.value_or("none");
      const auto stored = index->get_symbols_by_ids(std::vector{row->id});
      EXPECT_EQ(stored.at(row->id).docstring.value_or("none"), read[std::string(row->path)]);
    }
    return read;
  }

  using Docs = std::map<std::string, std::string>;
  const test::TemporaryFolder folder;
  const std::shared_ptr<Index> index = Index::open_or_create(folder.path() / "index.db");
};

TEST_F(CounterpartsTest, OneDocstringServesBoth) {
  EXPECT_EQ(put("q.c", ""), (Docs{{"q.c", "none"}}));
  EXPECT_EQ(put("other.c", ""), (Docs{{"other.c", "none"}}));
  // Whoever embeds reads again what another file documents now.
  EXPECT_EQ(put("q.h", "Puts."), (Docs{{"q.c", "Puts."}, {"q.h", "Puts."}, {"other.c", "Puts."}}));
  EXPECT_EQ(rows(), (Docs{{"q.c", "Puts."}, {"q.h", "Puts."}, {"other.c", "Puts."}}));
  EXPECT_EQ(put("a.h", "First."),
            (Docs{{"a.h", "First."}, {"q.c", "First."}, {"other.c", "First."}}));
  EXPECT_EQ(put("a.h", "-"), (Docs{{"q.c", "Puts."}, {"other.c", "Puts."}}));
  EXPECT_EQ(put("q.c", "Own."), (Docs{{"q.c", "Own."}, {"other.c", "Puts."}}));
  index->read([&](const Catalog& catalog) {
    for (const Symbol& symbol : catalog.choose({.place = "q.h"}).symbols) {
      const std::vector<Symbol> parts = catalog.counterparts(symbol);
      ASSERT_EQ(parts.size(), 2U);
      EXPECT_EQ(parts[0].path, "other.c");
      EXPECT_EQ(parts[1].path, "q.c");
    }
  });
}

TEST_F(CounterpartsTest, ANameOfManySaysNothing) {
  put("q.c", "");
  for (int i = 0; i < 8; ++i) put(std::to_string(10 + i) + ".h", std::to_string(i));
  EXPECT_EQ(rows().at("q.c"), "0");
  EXPECT_EQ(put("20.h", "x").at("q.c"), "none");
  EXPECT_EQ(rows().at("q.c"), "none");
}

}  // namespace
}  // namespace velmora::host::index
