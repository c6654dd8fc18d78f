#include "workers/retrieval/exact_channel.h"

#include <gtest/gtest.h>

#include "support/memory_repository.h"

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

}  // namespace
}  // namespace velmora::workers::retrieval::internal
