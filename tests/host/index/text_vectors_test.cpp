#include "velmora/host/index/text_vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

TextKey key(char text) { return {static_cast<std::byte>(text)}; }

// An index whose symbols have their name's first letter as their text.
class TextVectorsTest : public ::testing::Test {
 protected:
  // Puts the symbols of a file in place of those that it had.
  void put(const std::string& path, const std::string& names) {
    std::vector<Symbol> symbols;
    for (const char name : names) {
      symbols.push_back({{}, path + name, {name}, "function", "c", path, 1, 1, {}, {}, {}});
    }
    index->update([&](Update& update) {
      FileRecord file;
      file.path = path;
      update.put(file, symbols);
      update.text_vectors().link_new("m", key_of);
    });
  }
  void change(const std::function<void(TextVectors&)>& change) { index->update_vectors(change); }

  // Path and name of the symbols with a vector, nearest to `to` first.
  [[nodiscard]] std::string nearest(const std::vector<float>& to) const {
    std::set<std::pair<double, std::string>> found;
    for (const auto& [id, similarity] : index->nearest_symbol_ids(to, "m", {.top_k = 99})) {
      const double far = -similarity;
      index->read_symbol(id, [&](const auto& symbol) { found.emplace(far, symbol.fqn); });
    }
    std::string text;
    for (const auto& [far, fqn] : found) text.append(fqn).append(" ");
    return text;
  }

  const KeyOf key_of = [](const storage::SymbolRow& symbol) { return key(symbol.name[0]); };
  const test::TemporaryFolder folder;
  const std::shared_ptr<Index> index = Index::open_or_create(folder.path() / "index.db");
  const std::vector<float> right = {1, 0}, up = {0, 1};
};

TEST_F(TextVectorsTest, ASymbolHasTheVectorOfItsText) {
  change([](TextVectors& vectors) { vectors.set_model({.name = "m", .text_length = 9}); });
  put("2", "a");
  put("1", "ab");
  TextVectors::Links links;
  change([&](TextVectors& vectors) {
    links = vectors.link("m", key_of);
    // A symbol that has another text by now gets no vector of this one.
    std::vector<SymbolId> ids = {99};
    for (const auto& missing : links.missing) {
      const auto take = [&](const auto& symbol) {
        if (symbol.path == "1") ids.push_back(symbol.id);
      };
      index->read_symbol(missing.symbol, take);
    }
    vectors.add("m", key('a'), right, ids, key_of);
    vectors.add("m", key('c'), up, {}, key_of);
    EXPECT_THROW(vectors.add("m", key('d'), std::vector<float>{1}, {}, key_of),
                 std::invalid_argument);
  });
  EXPECT_EQ(links.symbols, 3);
  EXPECT_EQ(nearest(right), "1a ");
  put("1", "bc");  // c is known
  put("3", "xac");
  EXPECT_EQ(nearest(right), "3a 1c 3c ");
  put("1", "ab");  // and a still is
  EXPECT_EQ(nearest(right), "1a 3a 3c ");
  const std::string before = index->retrieval_fingerprint().value;
  change([&](TextVectors& vectors) {
    links = vectors.link("m", key_of);
    EXPECT_EQ(links.linked, 1);  // 2a, which had its turn before the vector came
    EXPECT_EQ(links.missing.size(), 2U);
  });
  EXPECT_NE(index->retrieval_fingerprint().value, before);
  // Without its text a vector is no longer the symbol's.
  change([&](TextVectors& vectors) {
    links = vectors.link("m", [](const auto&) { return key('c'); });
    EXPECT_EQ(links.linked, 5);
    links = vectors.link("m", [](const auto&) { return key('z'); });
    EXPECT_EQ(links.missing.size(), 6U);
  });
  EXPECT_EQ(nearest(right), "");
}

TEST_F(TextVectorsTest, KeepsSoManyUnusedVectors) {
  const auto known = [&](const std::string& names) {
    std::string found;
    put("f", names);
    for (const char name : names) {
      if (nearest(right).find(name) != std::string::npos) found += name;
    }
    return found;
  };
  change([&](TextVectors& vectors) {
    vectors.set_model({.name = "m", .text_length = 9});
    for (const char name : {'a', 'b', 'c', 'd'}) vectors.add("m", key(name), right, {}, key_of);
  });
  EXPECT_EQ(known("b"), "b");
  change([](TextVectors& vectors) { vectors.drop_unused("m", 1); });
  EXPECT_EQ(known("abcd"), "bd");
}

TEST_F(TextVectorsTest, HalvesWhatItHas) {
  index->replace([&, i = 0]() mutable -> std::optional<Symbol> {
    if (i++ > 0) return std::nullopt;
    return Symbol{{}, "given", "g", "function", "c", "f", 1, 1, {}, {}, {}, {{"m", {3, -1}}}};
  });
  // A vector that an import gave stays.
  change([&](TextVectors& vectors) {
    vectors.set_model({.name = "m", .text_length = 9});
    vectors.add("m", key('a'), std::vector<float>{1, 1e-3F}, {}, key_of);
    EXPECT_TRUE(vectors.link("m", key_of).missing.empty());
    vectors.set_model({.name = "m", .text_length = 9}, true);
    vectors.set_model({.name = "m", .text_length = 9});
    vectors.add("m", key('b'), up, {}, key_of);
  });
  put("f2", "ab");
  EXPECT_EQ(nearest(up), "f2b f2a given ");
  EXPECT_NEAR(index->nearest_symbol_ids(std::vector<float>{3, -1}, "m", {.top_k = 1})[0].similarity,
              1.0, 1e-6);
  index->update(
      [](Update& update) { update.embed("own", 2, [](auto&, auto, auto) { return false; }); });
  change([](TextVectors& vectors) {
    EXPECT_THROW(vectors.set_model({.name = "own", .text_length = 9}), std::invalid_argument);
    vectors.forget("m");
  });
  EXPECT_EQ(nearest(up), "");
}

}  // namespace
}  // namespace velmora::host::index
