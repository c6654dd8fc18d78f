#include "workers/retrieval/admission.h"

#include <gtest/gtest.h>

#include "support/memory_repository.h"

namespace velmora::workers::retrieval::internal {
namespace {

TEST(Admission, NormalizesScopes) {
  for (const char* scope : {"", ".", "./", "/", "//", " ", ".//", "\\", "\u3000", "././"}) {
    EXPECT_EQ(normalize_scope(scope), std::nullopt) << scope;
  }
  EXPECT_EQ(normalize_scope(std::nullopt), std::nullopt);
  for (const char* scope :
       {"src", "src/", "/src", "./src/", "././src", " src ", "\u00A0.\\src\\"}) {
    EXPECT_EQ(normalize_scope(scope), "src") << scope;
  }
  const std::pair<const char*, const char*> cases[] = {{"src\\lib\\", "src/lib"},
                                                       {"/./src", "./src"},
                                                       {" / src/ ", " src"},
                                                       {"..", ".."},
                                                       {"\xFF/", "\xFF"}};
  for (const auto& [scope, normalized] : cases) EXPECT_EQ(normalize_scope(scope), normalized);
}

TEST(Admission, AdmitsByCorpusTestsAndScope) {
  testing::MemoryRepository index({{.id = 1, .name = "a", .path = "src"},
                                   {.id = 2, .name = "b", .path = "src/a.py"},
                                   {.id = -3, .name = "c", .path = "src/x/test_b.py"},
                                   {.id = 4, .name = "d", .path = "src2/a.py"},
                                   {.id = 5, .name = "e", .path = "srcs.py"}});
  const auto corpus = build_corpus(index, {}, {});
  const auto admitted = [&](bool tests, std::optional<std::string> scope) {
    std::vector<SymbolId> ids;
    const Admission admit(corpus, tests, std::move(scope));
    for (const SymbolId id : {1, 2, -3, 4, 5, 6}) {
      if (admit(id)) ids.push_back(id);
    }
    return ids;
  };
  using Ids = std::vector<SymbolId>;
  EXPECT_EQ(admitted(true, std::nullopt), (Ids{1, 2, -3, 4, 5}));
  EXPECT_EQ(admitted(false, std::nullopt), (Ids{1, 2, 4, 5}));
  EXPECT_EQ(admitted(true, "src"), (Ids{1, 2, -3}));
  EXPECT_EQ(admitted(false, "src/x"), Ids{});
  EXPECT_EQ(admitted(false, "src/a.py"), Ids{2});
  EXPECT_EQ(admitted(true, "Src"), Ids{});
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
