#include "upkeep/index_place.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "indexing/git_program.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

void git(const fs::path& folder, const std::vector<std::string>& arguments) {
  indexing::run_git(folder, arguments, [](std::string_view) {});
}

TEST(IndexPlace, EachRepositoryHasItsOwn) {
  const TemporaryFolder folder;
  const fs::path at = fs::canonical(folder.path());
  const auto make_repository = [&](const fs::path& top) {
    fs::create_directories(top);
    git(top, {"init", "-q"});
    git(top,
        {"-c", "user.name=a", "-c", "user.email=b", "commit", "-q", "--allow-empty", "-m", "c"});
  };
  make_repository(at / "outer");
  make_repository(at / "outer/clone");
  make_repository(at / "outer/module");
  git(at / "outer", {"submodule", "--quiet", "add", "./module", "module"});
  git(at / "outer", {"submodule", "--quiet", "absorbgitdirs"});
  git(at / "outer", {"worktree", "add", "-q", "--detach", "linked"});
  for (const char* tree : {"outer/module", "outer/linked"}) {
    ASSERT_TRUE(fs::is_regular_file(at / tree / ".git"));
  }
  make_repository(at / "other");
  for (const char* deep : {"outer", "outer/clone", "outer/module", "outer/linked", "other"}) {
    fs::create_directories(at / deep / "deep/er");
  }
  fs::create_directory_symlink("../../outer/deep", at / "other/deep/link");

  struct Case {
    std::string indexed, from, nearest, to_index;
  };
  for (const Case& one :
       std::vector<Case>{{"outer", "outer/deep/er", "outer", "outer"},
                         {"outer", "outer/clone/deep", "", "outer/clone"},
                         {"outer", "outer/module/deep/er", "", "outer/module"},
                         {"outer", "outer/linked", "", "outer/linked"},
                         {"outer", "other/deep/link/er", "outer", "outer"},
                         {"outer/module", "outer/module/deep", "outer/module", "outer/module"},
                         {"outer/deep", "outer/deep/er", "outer/deep", "outer"},
                         {"outer/deep", "outer", "", "outer"},
                         // No repository: all that is in it is in its index.
                         {".", "outer/module/deep", ".", "outer/module"},
                         {".", ".", ".", "."}}) {
    const fs::path index = index_of_repository(at / one.indexed);
    folder.write(one.indexed + "/.velmora/index.db", "");
    const auto nearest = nearest_index(at / one.from);
    EXPECT_EQ(nearest.has_value(), !one.nearest.empty()) << one.indexed << " " << one.from;
    if (nearest) {
      EXPECT_TRUE(fs::equivalent(*nearest, index)) << one.from;
      EXPECT_TRUE(fs::equivalent(index::repository_of(*nearest), at / one.nearest)) << one.from;
    }
    EXPECT_EQ(folder_to_index(at / one.from), fs::canonical(at / one.to_index)) << one.from;
    fs::remove_all(index.parent_path());
  }
}

TEST(IndexPlace, WantsConsentForTheHomeFolderAndTheDisk) {
  const TemporaryFolder home;
  fs::create_directory_symlink(home.path(), home.path() / "link");
  home.write("part/a.py", "");
  const std::string before = std::getenv("HOME") == nullptr ? "/" : std::getenv("HOME");
  ::setenv("HOME", home.path().c_str(), 1);
  for (const fs::path& private_one : {home.path(), home.path() / "link", home.path() / "part/..",
                                      fs::path("/"), fs::path("/usr/..")}) {
    EXPECT_THROW(require_no_consent(private_one), ConsentError) << private_one;
  }
  require_no_consent(home.path() / "part");
  ::setenv("HOME", before.c_str(), 1);
}

}  // namespace
}  // namespace velmora::host::upkeep
