#include "workers/retrieval/exact_channel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>

#include "support/memory_repository.h"
#include "utils/unicode.h"

namespace velmora::workers::retrieval::internal {
namespace {

using Ids = std::vector<SymbolId>;

class ExactChannel : public ::testing::Test {
 protected:
  void expect(std::string_view query, const Ids& ids, const Ids& pinned, std::int64_t depth = 50,
              std::optional<std::string> scope = std::nullopt) {
    const ExactNames found =
        exact_names(*corpus_, query, Admission(corpus_, false, std::move(scope)), depth);
    EXPECT_EQ(found.ids, ids) << query;
    EXPECT_EQ(found.pinned, pinned) << query;
  }

  testing::MemoryRepository index_{{{.id = 11, .name = "mixer"},
                                    {.id = 12, .name = "Mixer", .path = "src/b.py"},
                                    {.id = 13, .name = "mixerChannel"},
                                    {.id = 14, .name = "MixerBus"},
                                    {.id = 15, .name = "mixer\u00E9\u00E9\u00E9"},
                                    {.id = 16, .name = "mixer", .path = "tests/a.py"},
                                    {.id = 20, .name = "music"},
                                    {.id = 21, .name = "MusicPlayer"},
                                    {.id = 30, .name = "duck"},
                                    {.id = 40, .name = "then"},
                                    {.id = 41, .name = "thenable"},
                                    {.id = 50, .name = "id"},
                                    {.id = 51, .name = "idle"}}};
  std::shared_ptr<const Corpus> corpus_ = build_corpus(index_, {}, {});
};

TEST_F(ExactChannel, LooksNamesUpAndRanksProse) {
  expect("how does the mixer duck background music", {11, 12, 30, 20}, {});
  // The shortest name first, in characters: "mixer\u00E9\u00E9\u00E9" has 8 but 11 bytes;
  // "mixerbus" has 8 and comes before it.
  expect("Mixer", {11, 12, 14, 15, 13}, {11, 12});
  expect("what does the mixer do", {11, 12, 14, 15, 13}, {11, 12});
  expect("MIXER", {11, 12, 14, 15, 13}, {11, 12});
  expect("MixerBus volume", {14}, {14});
  expect("music Mixer", {20, 11, 12, 14, 15, 13}, {11, 12});
  expect("then", {40, 41}, {40});
  expect("Id", {50}, {50});  // too short to stand for the names that it starts
  expect("duck Duck", {30}, {30});
  expect("absent", {}, {});
  expect("the of", {}, {});
  expect("", {}, {});
}

TEST_F(ExactChannel, CutsTheListButNotThePins) {
  expect("Mixer", {11, 12, 14}, {11, 12}, 3);
  expect("Mixer", {11}, {11, 12}, 1);
  expect("Mixer", {12}, {12}, 50, "src/b.py");
  // The depth stops the names of one word alone: at the repeat of 14 "Mixe" stops, "Musi" goes on.
  expect("Mixerb Mixe Musi", {14, 11, 12, 20}, {}, 4);
}

// The same rules word by word, listing anew each time.
ExactNames plain_exact_names(const Corpus& corpus, std::string_view query, const Admission& admit,
                             std::int64_t depth) {
  const std::vector<std::string> words = query_names(query);
  Ids named, prefixed;
  std::set<SymbolId> pinned;
  const auto append = [&](Ids& ids, std::span<const SymbolId> more) {
    std::copy_if(more.begin(), more.end(), std::back_inserter(ids), admit);
  };
  for (const std::string& word : words) {
    const std::string lower = utils::lowercase(word);
    append(named, corpus.named(lower));
    if (words.size() > 1 && !reads_as_code(word)) continue;
    for (const SymbolId id : corpus.named(lower)) {
      if (admit(id)) pinned.insert(id);
    }
    if (word.size() < 3) continue;
    const std::span<const CorpusName> span = corpus.names_starting_with(lower);
    std::vector<CorpusName> names(span.begin(), span.end());
    std::stable_sort(names.begin(), names.end(), [](const auto& left, const auto& right) {
      return utils::character_count(left.name) < utils::character_count(right.name);
    });
    for (const CorpusName& name : names) {
      append(prefixed, name.symbols);
      if (static_cast<std::int64_t>(prefixed.size()) >= depth) break;
    }
  }
  named.insert(named.end(), prefixed.begin(), prefixed.end());
  Ids ids;
  for (const SymbolId id : named) {
    if (static_cast<std::int64_t>(ids.size()) == depth) break;
    if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
  }
  return {ids, Ids(pinned.begin(), pinned.end())};
}

TEST(ExactNames, OneListingGivesWhatManyGive) {
  std::mt19937 random(3);
  // Words that begin each other, in any case: "aab", "AaB", "aabba".
  const auto word = [&] {
    std::string text;
    for (std::size_t i = 1 + random() % 6; i-- > 0;) text += "aabAB_"[random() % 6];
    return text;
  };
  for (int round = 0; round < 300; ++round) {
    testing::MemoryRepository index;
    for (SymbolId id = 1; id <= 40; ++id) {
      const char* const path = random() % 4 == 0 ? "tests/a.py" : "src/a.py";
      index.rows.push_back({.id = id, .name = word(), .path = path});
    }
    const auto corpus = build_corpus(index, {}, {});
    const Admission admit(corpus, false, std::nullopt);
    for (int question = 0; question < 20; ++question) {
      std::string query = word();
      for (std::size_t i = random() % 12; i-- > 0;) query += " " + word();
      const auto depth = static_cast<std::int64_t>(1 + random() % 60);
      const ExactNames found = exact_names(*corpus, query, admit, depth);
      const ExactNames plain = plain_exact_names(*corpus, query, admit, depth);
      ASSERT_EQ(found.ids, plain.ids) << query << " " << depth;
      ASSERT_EQ(found.pinned, plain.pinned) << query;
    }
  }
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
