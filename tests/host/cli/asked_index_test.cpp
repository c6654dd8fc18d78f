#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "index/connection.h"
#include "indexing/git_program.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using test::Finished;
using test::run_velmora;
using test::TemporaryFolder;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class AskedIndex : public ::testing::Test {
 protected:
  Finished explore(const std::string& question, std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"explore", "--no-embeddings", question});
    return run_velmora(more, "", from);
  }

  const TemporaryFolder folder;
  const fs::path root = fs::canonical(folder.path());
  fs::path from = root;
};

TEST_F(AskedIndex, IsMadeByTheFirstQuestionAndFollowsTheFiles) {
  folder.write("deep/a.py", "def alpha(): pass\n");
  indexing::run_git(root, {"init", "-q"}, [](std::string_view) {});
  from = root / "deep";
  const auto refused = explore("alpha", {"--no-index"});
  EXPECT_EQ(refused.exit_code, 3);
  EXPECT_TRUE(has(refused.errors, "velmora index " + root.string())) << refused.errors;
  EXPECT_FALSE(fs::exists(root / ".velmora"));

  const auto made = explore("alpha");
  EXPECT_EQ(made.exit_code, 0);
  EXPECT_TRUE(
      has(made.errors, "The index of " + root.string() + " is new. Indexed 1 file, 1 symbol"));
  EXPECT_TRUE(fs::exists(root / ".velmora/index.db"));

  folder.write("b.py", "def bravo(): pass\n");
  EXPECT_EQ(explore("bravo", {"--no-refresh"}).exit_code, 1);
  {
    const auto lock = index::WriterLock::try_take(root / ".velmora/lock");
    const auto busy = explore("bravo");
    EXPECT_EQ(busy.exit_code, 1);
    EXPECT_TRUE(has(busy.errors, "1 file changed since; it is being brought up to date by process"))
        << busy.errors;
  }
  const auto refreshed = explore("bravo", {"--verbose"});
  EXPECT_EQ(refreshed.exit_code, 0);
  EXPECT_TRUE(has(refreshed.errors, "brought the index up to date")) << refreshed.errors;
  EXPECT_EQ(explore("alpha").errors, "");

  // One that is named is asked as it is.
  fs::rename(root / ".velmora/index.db", root / "named.db");
  folder.write("c.py", "def charlie(): pass\n");
  EXPECT_EQ(explore("charlie", {"--index", root / "named.db"}).exit_code, 1);
  EXPECT_EQ(explore("charlie", {"--index", root / "none.db"}).exit_code, 3);
  // One that nothing was ever written to is none, and one that this program cannot use either.
  fs::remove_all(root / ".velmora");
  folder.write(".velmora/index.db", "");
  EXPECT_EQ(explore("charlie").exit_code, 0);
  index::connect(root / ".velmora/index.db", 0).execute("PRAGMA user_version = 3");
  const auto old = explore("charlie", {"--no-index"});
  EXPECT_TRUE(old.exit_code == 3 && has(old.errors, "has format 3")) << old.errors;
  const auto remade = explore("charlie");
  EXPECT_TRUE(remade.exit_code == 0 && has(remade.errors, "It is made anew\n")) << remade.errors;
}

TEST_F(AskedIndex, OfAHomeFolderWantsConsent) {
  folder.write("a.py", "def alpha(): pass\n");
  const std::string before = std::getenv("HOME") == nullptr ? "/" : std::getenv("HOME");
  ::setenv("HOME", root.c_str(), 1);
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"index"}, {"explore", "alpha"}}) {
    const auto refused = run_velmora(command, "", root);
    EXPECT_EQ(refused.exit_code, 3);
    EXPECT_TRUE(has(refused.errors, "--yes")) << refused.errors;
    EXPECT_FALSE(fs::exists(root / ".velmora"));
    std::vector<std::string> meant = command;
    meant.emplace_back("--yes");
    EXPECT_EQ(run_velmora(meant, "", root).exit_code, 0);
    // It was meant once.
    EXPECT_EQ(run_velmora(command, "", root).exit_code, 0);
    fs::remove_all(root / ".velmora");
  }
  ::setenv("HOME", before.c_str(), 1);
}

// A terminal sees what goes on, and nothing of it stays behind.
TEST_F(AskedIndex, ShowsProgressUntilItIsInterrupted) {
  const fs::path rows = root / "rows";
  ASSERT_EQ(::mkfifo(rows.c_str(), 0600), 0);
  const int writer = ::open(rows.c_str(), O_RDWR | O_CLOEXEC);
  for (const auto& [signal, code] : {std::pair{SIGINT, 130}, {SIGTERM, 143}}) {
    int terminal = -1;
    const std::string index = root / "rows.db";
    const char* const argv[] = {VELMORA_PROGRAM, "import",     "--index",
                                index.c_str(),   rows.c_str(), nullptr};
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
      ::setenv("TERM", "xterm", 1);
      ::execv(argv[0], const_cast<char* const*>(argv));
      ::_exit(127);
    }
    std::string text;
    const auto read_more = [&] {
      char buffer[4096];
      pollfd ready{terminal, POLLIN, 0};
      const ssize_t count = ::poll(&ready, 1, 30'000) > 0 ? ::read(terminal, buffer, 4096) : -1;
      if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
      return count > 0;
    };
    while (!has(text, "Importing, 1 s") && read_more()) {
    }
    EXPECT_TRUE(has(text, "\r\033[KImporting, ")) << text;
    ::kill(child, signal);
    while (read_more()) {
    }
    EXPECT_TRUE(text.ends_with("\r\033[K")) << text;
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), code);
    ::close(terminal);
  }
  ::close(writer);
}

}  // namespace
}  // namespace velmora::host::cli
