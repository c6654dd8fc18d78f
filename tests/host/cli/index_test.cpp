#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
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
using test::run_velmora;
using test::Running;
using test::TemporaryFolder;

TEST(IndexCommand, SaysWhatChanged) {
  const TemporaryFolder folder;
  folder.write("a.py", "def f(): pass");
  folder.write("b.py", "def g(): pass");
  folder.write("c.py", "def h(): pass");
  folder.write("binary.py", std::string(1, '\0'));
  for (const char* file : {"a.md", "b.md", "LICENSE", "module/m.py"}) folder.write(file, "");
  const std::string at = folder.path();
  for (const fs::path& top : {folder.path(), folder.path() / "module"}) {
    indexing::run_git(top, {"init", "-q"}, [](std::string_view) {});
  }
  EXPECT_EQ(run_velmora({"index", at}).exit_code, 0);
  folder.write("a.py", "def other(): pass");
  folder.write("d.py", "");
  fs::remove(folder.path() / "b.py");
  const auto result = run_velmora({"index", at, "--max-file-size", "15", "--verbose"});
  EXPECT_NE(result.output.find(": 1 added, 0 changed, 1 removed, 1 unchanged\nSkipped 2 (1: it is "
                               "binary, 1: it is larger than 15 bytes); --verbose lists them\n"
                               "3 files of other kinds: 2 .md, 1 without an extension\n"
                               "Other repositories, not indexed with this one: module\n"),
            std::string::npos)
      << result.output;
  for (const char* line : {"added d.py\n", "removed b.py\n", "skipped binary.py: it is binary\n"}) {
    EXPECT_NE(result.errors.find(line), std::string::npos) << line << result.errors;
  }
  EXPECT_EQ(run_velmora({"index", at, "--max-file-size", "x"}).exit_code, 2);
}

TEST(IndexCommand, ShowsWhatAFileYields) {
  const TemporaryFolder folder;
  folder.write("app/store.py",
               "class Store:\n    \"\"\"Keeps.\n\n    More.\"\"\"\n    def get(self, key): ...\n");
  folder.write("app/a.h", "int f(void);\nclass A {};");
  folder.write("app/b.cc", "");
  folder.write("notes.md", "");
  folder.write("empty.py", "");
  folder.write("binary.py", std::string(1, '\0'));
  folder.write(".gitignore", "app/\n");
  const std::string store =
      "app.store.Store\n    Store\n    Keeps.\n5  method app.store.Store.get\n"
      "    Store.get(key)\n";
  const auto show = [&](const std::string& file) {
    return run_velmora({"index", "--show", file}, "", folder.path());
  };
  // Outside of a repository a file is named from its folder.
  EXPECT_EQ(show("app/store.py").output,
            "store.py: python, 2 symbols\n1-5  class store.Store\n    Store\n    Keeps.\n"
            "5  method store.Store.get\n    Store.get(key)\n");
  EXPECT_EQ(show("app/a.h").output.find("a.h: cpp, 2 symbols\n"), 0U);
  indexing::run_git(folder.path(), {"init", "-q"}, [](std::string_view) {});
  EXPECT_EQ(show((folder.path() / "app/store.py").string()).output,
            "app/store.py: python, 2 symbols\n1-5  class " + store);
  for (const auto& [file, fault] :
       {std::pair("notes.md",
                  "velmora: notes.md yields nothing: its language is none that is indexed\n"),
        std::pair("binary.py", "velmora: binary.py yields nothing: it is binary\n"),
        std::pair("empty.py", "")}) {
    EXPECT_EQ(show(file).exit_code, 1) << file;
    EXPECT_EQ(show(file).errors, fault);
  }
  EXPECT_EQ(show("none.py").exit_code, 3);
  EXPECT_EQ(show("app").exit_code, 1);
  EXPECT_EQ(run_velmora({"index", "--show", "a", "b"}).exit_code, 2);
  EXPECT_FALSE(fs::exists(folder.path() / ".velmora"));
}

TEST(IndexCommand, LeavesTheLastIndexWhenItIsKilled) {
  const TemporaryFolder folder;
  const auto write = [&](const std::string& name) {
    for (int i = 0; i < 300; ++i) {
      folder.write(std::to_string(1000 + i) + ".py", "def " + name + "(): pass\n");
    }
  };
  const std::string at = folder.path();
  const fs::path file = folder.path() / ".velmora" / "index.db";
  write("first");
  EXPECT_EQ(run_velmora({"index", at}).exit_code, 0);
  const std::string fingerprint = index::Index::open(file)->retrieval_fingerprint().value;
  write("later");
  const std::tuple<const char*, int, int> cases[] = {{"changed 1000.py", SIGINT, 130},
                                                     {"changed 1120.py", SIGTERM, 143},
                                                     {"changed 1298.py", SIGKILL, -SIGKILL}};
  for (const auto& [line, signal, code] : cases) {
    Running program({"index", at, "--verbose"});
    program.line_with(line);
    EXPECT_EQ(program.end(signal), code);
    storage::Database database = index::connect(file, 0);
    storage::Statement check = database.prepare("PRAGMA integrity_check");
    ASSERT_TRUE(check.step());
    EXPECT_EQ(check.column_text(0), "ok");
    // Killed after its last word, it may have been done.
    const bool done = index::Index::open(file)->retrieval_fingerprint().value != fingerprint;
    // By text alone: the meaning of either word is near the other's.
    const auto hits = [&](const std::string& name) {
      return run_velmora({"explore", "--repo", at, "--no-refresh", "--no-embeddings", name})
                 .exit_code == 0;
    };
    EXPECT_TRUE(hits(done ? "later" : "first"));
    EXPECT_FALSE(hits(done ? "first" : "later"));
  }
  EXPECT_EQ(run_velmora({"index", at}).exit_code, 0);
  EXPECT_EQ(run_velmora({"explore", "--repo", at, "later"}).exit_code, 0);
}

TEST(IndexCommand, LeavesTheLastIndexOnAFullDisk) {
  const TemporaryFolder folder;
  const std::string at = folder.path();
  folder.write("a.py", "def first(): pass");
  EXPECT_EQ(run_velmora({"index", at}).exit_code, 0);
  std::string large;
  for (int i = 0; i < 5000; ++i) large += "def f" + std::to_string(i) + "(): pass\n";
  folder.write("b.py", large);
  // No file grows any more: what the program is told of a full disk, without one.
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  rlimit small = before;
  small.rlim_cur = 256 * 1024;
  ::setrlimit(RLIMIT_FSIZE, &small);
  const auto full = run_velmora({"index", at});
  ::setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(full.exit_code, 3);
  EXPECT_NE(full.errors.find("make room and try again"), std::string::npos) << full.errors;
  EXPECT_EQ(run_velmora({"explore", "--repo", at, "first"}).exit_code, 0);
  EXPECT_EQ(run_velmora({"index", at}).output.find("Indexed 2 files, 5001 symbols"), 0U);
}

TEST(IndexCommand, WaitsForAnotherIndexer) {
  const TemporaryFolder folder;
  folder.write("a.py", "def f(): pass");
  fs::create_directory(folder.path() / ".velmora");
  const std::string at = folder.path();
  auto lock = index::WriterLock::try_take(folder.path() / ".velmora" / "lock");
  ASSERT_TRUE(lock);
  const std::string who = "by process " + std::to_string(::getpid()) + ", since ";
  const auto refused = run_velmora({"index", at, "--no-wait"});
  EXPECT_EQ(refused.exit_code, 3);
  EXPECT_NE(refused.errors.find(who), std::string::npos) << refused.errors;
  Running waiting({"index", at});
  EXPECT_NE(waiting.line_with("Waiting for it").find(who), std::string::npos);
  const pid_t forked = ::fork();  // as a host's own processes are; it holds nothing
  if (forked == 0) {
    while (true) ::pause();
  }
  lock.reset();
  EXPECT_EQ(waiting.line_with("Indexed").find("Indexed 1 file, "), 0U);
  ::kill(forked, SIGKILL);
  ::waitpid(forked, nullptr, 0);
}

TEST(IndexCommand, WatchesFilesAndNewFolders) {
  const TemporaryFolder folder;
  folder.write(".gitignore", "built\n");
  folder.write("a.py", "def f(): pass");
  const std::string at = folder.path();
  Running watch({"index", at, "--watch"});
  watch.line_with("Watching");
  folder.write("a.py", "def changed_one(): pass");
  watch.line_with(": 0 added, 1 changed, 0 removed, 0 unchanged");
  EXPECT_EQ(run_velmora({"explore", "--repo", at, "changed_one"}).exit_code, 0);
  folder.write("new/deep/b.py", "def g(): pass");
  watch.line_with(": 1 added, 0 changed, 0 removed, 1 unchanged");
  folder.write("new/deep/b.py", "def another(): pass");
  watch.line_with(": 0 added, 1 changed, 0 removed, 1 unchanged");
  // An error of one round does not end the watch.
  fs::rename(folder.path() / ".velmora/lock", folder.path() / "kept");
  fs::create_directory(folder.path() / ".velmora/lock");
  folder.write("c.py", "");
  watch.line_with("lock is not a file. Remove it and try again");
  fs::remove(folder.path() / ".velmora/lock");
  fs::remove_all(folder.path() / "new");
  watch.line_with(": 1 added, 0 changed, 1 removed, 1 unchanged");
  EXPECT_EQ(watch.end(SIGINT), 130);
}

}  // namespace
}  // namespace velmora::host::cli
