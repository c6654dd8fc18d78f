#include "indexing/ignore_rules.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

// Random patterns over few names, so that many of them match something. Never two slashes in a row,
// nor ** beside something else than a slash: what those mean is not laid down.
std::string random_rules(std::mt19937& random) {
  constexpr const char* PIECES[] = {"a",           "b", "ab",  "?",  "[ab]", "[!a]",
                                    "\\a",         "#", "\\#", " ",  "\\ ",  "[a-b]",
                                    "[[:alpha:]]", ".", "*b",  "a*", "!"};
  std::string text;
  for (auto lines = random() % 4; lines > 0; --lines) {
    if (random() % 4 == 0) text += '!';
    if (random() % 4 == 0) text += '/';
    for (auto parts = random() % 3 + 1; parts > 0; --parts) {
      if (random() % 4 == 0) {
        text += random() % 2 == 0 ? "**" : "*";
      } else {
        for (auto pieces = random() % 2 + 1; pieces > 0; --pieces) {
          text += PIECES[random() % std::size(PIECES)];
        }
      }
      if (parts > 1) text += '/';
    }
    if (random() % 5 == 0) text += '/';
    text += random() % 8 == 0 ? "  \n" : "\n";
  }
  return text;
}

TEST(IgnoreRules, AgreeWithGit) {
  const TemporaryFolder folder, outside;
  for (const char* deep : {"a/b/a/", "a/b/", "a/ab/", "b/.a/", "a/", "b/", ""}) {
    for (const char* name : {"a.py", "b", "ab", "#", "bb"}) {
      const std::string file = std::string(deep) + name;
      if (!fs::exists(folder.path() / file)) folder.write(file, "");
    }
  }
  const std::string at = "git -C " + folder.path().string();
  ASSERT_EQ(std::system((at + " init -q").c_str()), 0);
  std::mt19937 random(20240905);
  for (int round = 0; round < 120; ++round) {
    std::string rules;
    for (const char* name : {".gitignore", "a/.gitignore", "a/b/.gitignore"}) {
      rules += name + (":\n" + random_rules(random));
      folder.write(name, rules.substr(rules.rfind(":\n") + 2));
    }
    const std::vector<std::string> by_git = list_files(folder.path()).files;
    fs::rename(folder.path() / ".git", outside.path() / "git");
    const std::vector<std::string> by_us = list_files(folder.path()).files;
    fs::rename(outside.path() / "git", folder.path() / ".git");
    // Where git ignores everything, our own rules are asked either way.
    ASSERT_EQ(by_us, by_git) << rules;
  }
}

}  // namespace
}  // namespace velmora::host::indexing
