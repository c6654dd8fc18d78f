#include <gtest/gtest.h>

#include <map>
#include <random>
#include <tuple>

#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {
namespace {

TEST(Fusion, RanksAreDenseInOrderOfFirstAppearance) {
  EXPECT_EQ(ranks_in_order(std::vector<SymbolId>{5, 7, 5, 9}), (Ranks{{5, 1}, {7, 2}, {9, 3}}));
  EXPECT_TRUE(ranks_in_order({}).empty());
}

TEST(Fusion, MergesTheWorkedExample) {
  const Ranks exact = {{7, 1}};
  const Ranks lexical = {{3, 1}, {7, 2}, {5, 3}};
  const Ranks file = {{5, 1}, {3, 1}, {9, 2}, {8, 3}, {4, 3}};
  const auto fused =
      reciprocal_rank_fusion({{EXACT, exact}, {LEXICAL, lexical}, {FILE, file}, {SEMANTIC, {}}});
  const std::vector<FusedSymbol> expected = {{3, 0.03278688524590164, {{LEXICAL, 1}, {FILE, 1}}},
                                             {7, 0.03252247488101534, {{EXACT, 1}, {LEXICAL, 2}}},
                                             {5, 0.032266458495966696, {{LEXICAL, 3}, {FILE, 1}}},
                                             {9, 0.016129032258064516, {{FILE, 2}}},
                                             {4, 0.015873015873015872, {{FILE, 3}}},
                                             {8, 0.015873015873015872, {{FILE, 3}}}};
  EXPECT_EQ(fused, expected);
  EXPECT_EQ(fused[0].ranks.begin()->first, LEXICAL);  // in the order of the rankings
  EXPECT_TRUE(reciprocal_rank_fusion({}).empty());
}

// Against the definition told with maps and a sort by the whole key.
TEST(Fusion, EqualsThePlainDefinition) {
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    std::array<Ranks, 4> channels;
    std::map<SymbolId, double> scores;
    std::map<SymbolId, std::int64_t> best;
    const int k = static_cast<int>(random() % 3) * 30;
    for (Ranks& ranks : channels) {
      for (SymbolId id = -6; id < 6; ++id) {
        if (random() % 3 == 0) ranks.push_back({id, 1 + static_cast<std::int64_t>(random() % 4)});
      }
      std::shuffle(ranks.begin(), ranks.end(), random);
      for (const auto& [id, rank] : ranks) {
        scores[id] += 1.0 / static_cast<double>(k + rank);
        best[id] = best.contains(id) ? std::min(best[id], rank) : rank;
      }
    }
    std::vector<std::tuple<double, std::int64_t, SymbolId>> expected;
    for (const auto& [id, score] : scores) expected.emplace_back(-score, best[id], id);
    std::sort(expected.begin(), expected.end());

    const auto fused = reciprocal_rank_fusion({{EXACT, channels[0]},
                                               {LEXICAL, channels[1]},
                                               {FILE, channels[2]},
                                               {SEMANTIC, channels[3]}},
                                              k);
    ASSERT_EQ(fused.size(), expected.size());
    for (std::size_t i = 0; i < fused.size(); ++i) {
      EXPECT_EQ(fused[i].id, std::get<2>(expected[i]));
      EXPECT_EQ(fused[i].score, -std::get<0>(expected[i]));
    }
  }
}

}  // namespace
}  // namespace velmora::workers::retrieval
