#include "miner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "indexing/git_program.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;
using host::indexing::run_git;

TEST(Miner, PairsSentencesAndSubjectsWithTheFunctionsOfToday) {
  const fs::path root = fs::path(::testing::TempDir()) / "miner_test";
  fs::remove_all(root);
  fs::create_directories(root);
  const auto git = [&](const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {"-c", "user.name=a", "-c", "user.email=a@b"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    run_git(root, words, [](std::string_view) {});
  };
  const auto commit = [&](const std::string& source, const std::string& subject) {
    std::ofstream(root / "code.py") << source;
    git({"add", "."});
    git({"commit", "-q", "-m", subject});
  };
  git({"init", "-q"});
  const std::string read =
      "def read(path):\n    \"\"\"Reads a whole file. Slowly.\"\"\"\n    return 1\n";
  const std::string gone = "def gone():\n    return 3\n";
  commit(read + gone, "Add reading of files");
  // Lines move between the commits: each one's numbers are its own.
  commit("import os\n\n\n" + read + gone + "def write():\n    return 2\n",
         "Support writing files (#12)");
  commit("import os\n" + read + "def write():\n    return 4\n", "Return what was written");
  commit("import os\n" + read + "def write():\n    return 5\n", "Revert what was returned");

  Workers workers(2);
  const Mined mined = mine(root, workers);
  EXPECT_EQ(mined.symbols.size(), 2U);
  ASSERT_EQ(mined.docs.size(), 1U);
  EXPECT_EQ(mined.docs[0].query, "Reads a whole file.");
  EXPECT_EQ(mined.docs[0].name, "read");
  EXPECT_EQ(mined.docs[0].docstring, "");
  std::vector<std::string> commits;
  for (const Pair& pair : mined.commits) commits.push_back(pair.query + " -> " + pair.fqn);
  ASSERT_EQ(commits.size(), 3U);
  EXPECT_TRUE(commits[0].starts_with("Return what was written -> ") &&
              commits[0].ends_with("write"));
  EXPECT_TRUE(commits[1].starts_with("Support writing files () -> ") &&
              commits[1].ends_with("write"));
  EXPECT_TRUE(commits[2].starts_with("Add reading of files -> ") && commits[2].ends_with("read"));

  // What was mined survives its file.
  const fs::path file = root / "pairs.jsonl.gz";
  write_pairs(file, mined.commits);
  EXPECT_EQ(read_pairs(file), mined.commits);
  fs::resize_file(file, fs::file_size(file) / 2);
  EXPECT_THROW((void)read_pairs(file), std::runtime_error);
  fs::remove_all(root);
}

}  // namespace
}  // namespace velmora::train
