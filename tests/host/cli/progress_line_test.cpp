#include "cli/progress_line.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace velmora::host::cli {
namespace {

TEST(ProgressLine, TellsTheTimeLeftOnceItMeansSomething) {
  // Done, of so many, in seconds: (total - done) / done * seconds are left.
  const std::vector<std::tuple<double, double, double, std::string>> cases = {
      {50, 100, 1.9, ""},  // too early
      {0, 100, 60, ""},
      {100, 100, 60, ""},
      {10, 0, 60, ""},  // no total
      {50, 100, 2, "2 s left"},
      {90, 100, 2, "1 s left"},            // 0.2
      {10, 100, 4.01, "about 40 s left"},  // 36.1
      {20, 100, 2.51, "about 15 s left"},  // 10.04
      {10, 100, 6.6, "about 60 s left"},   // 59.4
      {10, 100, 7, "about 2 min left"},    // 63
      {1, 100, 54, "about 90 min left"},   // 5346
      {1, 100, 60, "about 2 h left"},      // 5940
      {1, 1000, 100, "about 28 h left"},   // 99900
      {1, 1e6, 100, ""},
  };
  for (const auto& [done, total, seconds, expected] : cases) {
    EXPECT_EQ(time_left(done, total, seconds), expected) << done << " " << total << " " << seconds;
  }
  EXPECT_EQ(rate_text(10, 90, "files", 1), "10 files/s");
  EXPECT_EQ(rate_text(10, 90, "files", 5), "2 files/s, about 45 s left");
}

}  // namespace
}  // namespace velmora::host::cli
