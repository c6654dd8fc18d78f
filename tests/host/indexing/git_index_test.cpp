#include "indexing/git_index.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/git_program.h"
#include "support/files.h"
#include "support/temporary_folder.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using test::content_of;
using test::TemporaryFolder;

// A repository with a few files, whose index is split and in the given version.
void make_repository(const TemporaryFolder& folder, const std::string& version) {
  const auto git = [&](const std::vector<std::string>& arguments) {
    run_git(folder.path(), arguments, [](std::string_view) {});
  };
  for (const char* file : {"a.py", "b/c.py", "b/d/e.py", "f.py"}) folder.write(file, file);
  git({"init", "-q"});
  git({"add", "a.py", "b"});
  git({"update-index", "--index-version", version});
  git({"update-index", "--split-index"});
  folder.write("a.py", "another");
  git({"-c", "splitIndex.maxPercentChange=100", "add", "a.py", "f.py"});
  git({"-c", "splitIndex.maxPercentChange=100", "rm", "-q", "--cached", "b/c.py"});
}

bool is_sound(const std::string& path) {
  const fs::path parts(path);
  return !path.empty() && parts.is_relative() && !path.ends_with('/') &&
         std::ranges::none_of(parts, [](const fs::path& part) {
           return part == ".." || part == "." || part == ".git";
         });
}

TEST(GitIndex, SurvivesAnyDamage) {
  std::mt19937 random(3);
  for (const char* version : {"2", "4"}) {
    const TemporaryFolder folder;
    make_repository(folder, version);
    const fs::path git_folder = folder.path() / ".git";
    const std::vector<std::string> files = {"a.py", "b/d/e.py", "f.py"};
    ASSERT_EQ(read_git_index(git_folder)->files, files);

    std::vector<fs::path> parts = {git_folder / "index"};
    for (const auto& entry : fs::directory_iterator(git_folder)) {
      if (entry.path().filename().string().starts_with("sharedindex.")) {
        parts.push_back(entry.path());
      }
    }
    ASSERT_EQ(parts.size(), 2U) << version;
    std::size_t refused = 0;
    const auto try_out = [&] {
      const std::optional<TrackedPaths> read = read_git_index(git_folder);
      if (!read) return void(++refused);
      ASSERT_TRUE(std::ranges::all_of(read->files, is_sound));
      ASSERT_TRUE(std::ranges::all_of(read->repositories, is_sound));
    };
    for (const fs::path& part : parts) {
      const std::string whole = content_of(part);
      // In place: a file that is cut and written anew goes to the disk each time.
      const auto overwrite = [&](const std::string& content) {
        std::fstream(part, std::ios::binary | std::ios::in | std::ios::out) << content;
      };
      for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int flip : {0x01, 0xFF}) {
          std::string damaged = whole;
          damaged[at] = static_cast<char>(damaged[at] ^ flip);
          overwrite(damaged);
          try_out();
        }
      }
      for (int round = 0; round < 1'000; ++round) {
        std::string damaged = whole;
        for (auto times = random() % 8 + 1; times > 0; --times) {
          damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        overwrite(damaged);
        try_out();
      }
      overwrite(whole);
      for (std::size_t size = whole.size(); size-- > 0;) {
        fs::resize_file(part, size);
        try_out();
      }
      overwrite(whole);
    }
    EXPECT_GT(refused, 300U);
    EXPECT_EQ(read_git_index(git_folder)->files, files);
  }
}

// An entry by hand: 24 bytes of times and such, the mode, 32 bytes of owner, size and name, the
// length, the path, NULs up to a multiple of eight.
std::string index_of(const std::string& path) {
  std::string entry = std::string(24, '\0') + std::string("\0\0\x81\xA4", 4) +
                      std::string(32, '\0') + '\0' + static_cast<char>(path.size()) + path;
  entry.append(8 - entry.size() % 8, '\0');
  return "DIRC" + std::string("\0\0\0\x02\0\0\0\x01", 8) + entry + std::string(20, '\0');
}

TEST(GitIndex, NamesNothingOutsideOfTheTree) {
  const TemporaryFolder folder;
  folder.write("index", index_of("a/b.py"));
  EXPECT_EQ(read_git_index(folder.path())->files, std::vector<std::string>{"a/b.py"});
  for (const char* path :
       {"/etc/x.py", "../x.py", "a/../../x.py", "a//x.py", "./x.py", ".git/x.py", "a/.git", "a/"}) {
    folder.write("index", index_of(path));
    EXPECT_FALSE(read_git_index(folder.path())) << path;
  }
}

TEST(GitIndex, ThatCannotBeReadIsReportedAndTheWalkGoesOn) {
  const TemporaryFolder folder;
  make_repository(folder, "2");
  const fs::path index = folder.path() / ".git/index";
  fs::remove(index);
  EXPECT_TRUE(list_files(folder.path()).skipped.empty());
  const auto expect_report = [&] {
    const FileList list = list_files(folder.path());
    EXPECT_EQ(list.files, (std::vector<std::string>{"a.py", "b/c.py", "b/d/e.py", "f.py"}));
    ASSERT_EQ(list.skipped.size(), 1U);
    EXPECT_EQ(list.skipped[0].path, ".git");
  };
  ASSERT_EQ(::mkfifo(index.c_str(), 0600), 0);
  expect_report();
  fs::remove(index);
  fs::create_symlink("/dev/zero", index);
  expect_report();
  fs::remove(index);
  folder.write(".git/index", "DIRC");
  expect_report();
}

}  // namespace
}  // namespace velmora::host::indexing
