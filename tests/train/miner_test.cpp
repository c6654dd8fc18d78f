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
  EXPECT_EQ(mined.tree.symbols.size(), 2U);
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

TEST(Miner, RunsNothingOfTheRepository) {
  const fs::path folder = fs::path(::testing::TempDir()) / "miner_trap_test";
  const fs::path root = folder / "tree";
  fs::remove_all(folder);
  fs::create_directories(root);
  const auto git = [&](const std::vector<std::string>& arguments) {
    std::string output;
    run_git(root, arguments, [&](std::string_view text) { output += text; });
    return output;
  };
  const auto write = [](const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << content;
    fs::permissions(file, fs::perms::owner_all);
  };
  git({"init", "-q"});
  for (const char* body : {"return 1", "return 2"}) {
    write(root / "code.py", "def read(path):\n    " + std::string(body) + "\n");
    write(root / ".gitattributes", "*.py diff=trap filter=trap\n");
    git({"add", "."});
    git({"-c", "user.name=a", "-c", "user.email=a@b", "commit", "-q", "-m", "Change the reading"});
  }
  // A commit that claims to be signed, which git shows by the repository's own program.
  const std::string head = git({"rev-parse", "HEAD"});
  std::string signed_commit = git({"cat-file", "commit", "HEAD"});
  signed_commit.insert(
      signed_commit.find("\n\n"),
      "\ngpgsig -----BEGIN PGP SIGNATURE-----\n \n x\n -----END PGP SIGNATURE-----");
  write(folder / "commit", signed_commit);
  std::string hash = git({"hash-object", "-t", "commit", "-w", (folder / "commit").string()});
  hash.pop_back();
  git({"update-ref", "HEAD", hash});

  const fs::path marker = folder / "marker";
  const std::string trap = folder / "trap";
  write(trap, "#!/bin/sh\necho ran >" + marker.string() + "\n");
  for (const char* hook : {"post-checkout", "reference-transaction", "post-index-change"}) {
    write(root / ".git/hooks" / hook, "#!/bin/sh\n" + trap + "\n");
  }
  std::ofstream(root / ".git/config", std::ios::app)
      << "[core]\n\trepositoryformatversion = 1\n\tfsmonitor = " << trap << "\n\tpager = " << trap
      << "\n\tsshCommand = " << trap << "\n[diff]\n\texternal = " << trap
      << "\n[diff \"trap\"]\n\ttextconv = " << trap << "\n\tcommand = " << trap
      << "\n[filter \"trap\"]\n\tsmudge = " << trap << "\n\tclean = " << trap
      << "\n[gpg]\n\tprogram = " << trap
      << "\n[log]\n\tshowSignature = true\n[pager]\n\tlog = " << trap << "\n[alias]\n\tlog = !"
      << trap << "\n\tcat-file = !" << trap
      << "\n[extensions]\n\tpartialClone = far\n[remote \"far\"]\n\turl = " << root.string()
      << "\n\tpromisor = true\n\tuploadpack = " << trap << "\n";
  Workers workers(1);
  EXPECT_EQ(mine(root, workers).commits.size(), 2U);
  EXPECT_FALSE(fs::exists(marker));
  // The traps are ones that git falls into: each of these commands into another one.
  for (const char* command :
       {"log -p -1", "log -1", "-c log.showSignature=false log -p --no-ext-diff -1", "status"}) {
    const std::string line = "git -C " + root.string() + " " + command + " >/dev/null 2>&1";
    static_cast<void>(std::system(line.c_str()));
    EXPECT_TRUE(fs::remove(marker)) << command;
  }

  // A partial clone whose objects are elsewhere: nothing fetches them, git's own words say so.
  const std::string blob = git({"rev-parse", "HEAD~:code.py"});
  fs::remove(root / ".git/objects" / blob.substr(0, 2) / blob.substr(2, 38));
  try {
    static_cast<void>(mine(root, workers));
    FAIL() << "the missing object was read";
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("git log failed in "), std::string::npos);
    EXPECT_NE(std::string(error.what()).find("fatal: "), std::string::npos) << error.what();
  }
  EXPECT_FALSE(fs::exists(marker));
  static_cast<void>(std::system(
      ("git -C " + root.string() + " cat-file -p " + blob.substr(0, 40) + " 2>&1").c_str()));
  EXPECT_TRUE(fs::exists(marker));
  fs::remove_all(folder);
}

}  // namespace
}  // namespace velmora::train
