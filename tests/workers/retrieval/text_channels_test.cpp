#include "workers/retrieval/text_channels.h"

#include <gtest/gtest.h>

#include "support/memory_repository.h"

namespace velmora::workers::retrieval::internal {
namespace {

using Terms = std::vector<std::string>;

// Shorter signatures make better matches of "parse": 1 in tests first, then 2, 3 (in tests) and so
// on.
std::vector<testing::Row> rows() {
  std::vector<testing::Row> rows;
  std::string padding = "parse";
  for (SymbolId id = 1; id <= 6; ++id, padding += " word word") {
    const std::string folder = id % 2 == 0 ? "src/" : "tests/";
    rows.push_back({.id = id,
                    .name = "f",
                    .path = folder + std::string(1, static_cast<char>('a' + id)),
                    .signature = padding,
                    .docstring = padding});
  }
  rows.push_back({.id = 8, .name = "other", .path = "src/c"});  // in the file of 2
  return rows;
}

class TextChannels : public ::testing::Test {
 protected:
  Channel lexical(const Terms& terms, bool tests, std::int64_t depth) {
    return internal::TextChannels(*corpus_, terms)
        .lexical(Admission(corpus_, tests, std::nullopt), depth);
  }
  Channel files(const Terms& terms, bool tests, int best_files) {
    return internal::TextChannels(*corpus_, terms)
        .file(Admission(corpus_, tests, std::nullopt), best_files);
  }

  testing::MemoryRepository index_{rows()};
  std::shared_ptr<const Corpus> corpus_ = build_corpus(index_, {}, {});
};

TEST_F(TextChannels, LexicalRanksAdmittedSymbolsUpToTheDepth) {
  EXPECT_EQ(lexical({"parse"}, true, 50).ranks,
            (Ranks{{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}}));
  EXPECT_EQ(lexical({"parse"}, false, 50).ranks, (Ranks{{2, 1}, {4, 2}, {6, 3}}));
  EXPECT_EQ(lexical({"parse"}, false, 2).ranks, (Ranks{{2, 1}, {4, 2}}));
  EXPECT_EQ(lexical({"absent"}, true, 50), Channel{});
  EXPECT_EQ(lexical({}, true, 50), Channel{});
}

TEST_F(TextChannels, FilePassesOverFilesThatMayNotAnswer) {
  EXPECT_EQ(files({"parse"}, false, 1).ranks, (Ranks{{2, 1}, {8, 1}}));
  EXPECT_EQ(files({"parse"}, false, 2).ranks, (Ranks{{2, 1}, {8, 1}, {4, 2}}));
  EXPECT_EQ(files({"parse"}, false, 0).ranks, (Ranks{{2, 1}, {8, 1}, {4, 2}, {6, 3}}));
  EXPECT_EQ(files({"parse"}, true, 1).ranks, (Ranks{{1, 1}}));
  EXPECT_EQ(files({"absent"}, true, 1), Channel{});
  EXPECT_EQ(files({}, true, 1), Channel{});
}

TEST_F(TextChannels, BothAreUnavailableWithoutTables) {
  corpus_ = build_corpus(index_, {}, {.tokenizer = "nonesuch"});
  const Channel without{{}, UNAVAILABLE, "this SQLite has no FTS5 for text search"};
  EXPECT_EQ(lexical({"parse"}, true, 50), without);
  EXPECT_EQ(files({}, true, 1), without);
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
