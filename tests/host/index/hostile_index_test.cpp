// Indexes that somebody else made, that a disk damaged, or beside which nothing can be written.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "index/connection.h"
#include "index/index_file.h"
#include "index/page_checks.h"
#include "support/files.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;
using test::content_of;
using test::TemporaryFolder;

// Overwrites the file's content, which leaves it the file that it is.
void overwrite(const fs::path& file, std::string_view content) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

mode_t mode_of(const fs::path& file) {
  struct stat status {};
  return ::stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

std::set<std::string> names_in(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

// Runs `action` in a process of its own, as a user who owns nothing, and tells whether it returned
// true. It ends without a goodbye, as a kill would end it: connections that are still open leave
// everything as it is.
bool in_a_process(const std::function<bool()>& action, bool as_stranger) {
  const pid_t child = ::fork();
  if (child == 0) {
    // Who runs the tests as a plain user is kept out by the permissions alone.
    if (as_stranger && ::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
      ::_exit(2);
    }
    try {
      ::_exit(action() ? 0 : 1);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      ::_exit(3);
    }
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class HostileIndex : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::permissions(folder.path(), fs::perms(0755));
    make_index_folder(folder.path());
    fill(50, "first");
  }
  ~HostileIndex() override { fs::permissions(file.parent_path(), fs::perms(0700)); }

  void fill(int count, const std::string& name) const {
    fill(*Index::open_or_create(file), count, name);
  }
  static void fill(Index& index, int count, const std::string& name) {
    index.replace([&]() -> std::optional<Symbol> {
      if (count-- == 0) return std::nullopt;
      Symbol symbol{.fqn = name,
                    .name = name,
                    .kind = "function",
                    .language = "python",
                    .path = "a.py",
                    .start_line = 1,
                    .end_line = 2};
      symbol.docstring = std::string(2000, 'd');
      symbol.embeddings = {{"m", {1.0F, static_cast<float>(count)}}};
      return symbol;
    });
  }

  // Fills the index in a process that ends without a goodbye.
  static void kill_writer(const fs::path& index_file, int count, const std::string& name) {
    const auto write = [&]() -> bool {
      const auto index = Index::open_or_create(index_file);
      const storage::Database held = connect(index_file, 0);
      storage::Statement select = held.prepare("SELECT count(*) FROM symbols");
      static_cast<void>(select.step());  // it keeps the log from being cleared up
      fill(*index, count, name);
      ::_exit(0);
    };
    ASSERT_TRUE(in_a_process(write, false));
  }

  // Everything that the index answers.
  [[nodiscard]] std::string answer() const { return answer(*Index::open(file)); }
  static std::string answer(Index& index) {
    std::string text;
    const std::vector<std::string_view> languages = {"python"}, kinds = {"function"};
    const auto cursor = index.retrievable_code_symbols(languages, kinds);
    while (const storage::SymbolRow* row = cursor->next()) {
      text.append(row->name).append(row->path).append(*row->docstring) += '\n';
    }
    for (const auto& pair : index.nearest_symbol_ids(std::vector{1.0F, 0.5F}, "m", {.top_k = 99})) {
      text += std::to_string(pair.id) + " " + std::to_string(pair.similarity) + "\n";
    }
    return text;
  }
  [[nodiscard]] std::string fault() const {
    try {
      return answer().empty() ? "no answer" : "";
    } catch (const IndexError& error) {
      return error.what();
    }
  }

  // What `index` tells of the index that it finds.
  [[nodiscard]] std::string told() const {
    std::string text;
    static_cast<void>(
        Index::open_or_remake(file, false, [&](const std::string& sentence) { text = sentence; }));
    return text;
  }

  // Opens the file without a defence, and with right checksums.
  [[nodiscard]] storage::Database defenceless() const {
    return {file.string(), SQLITE_OPEN_READWRITE, page_checking_vfs(FileAccess::shared)};
  }

  const TemporaryFolder folder;
  const fs::path file = folder.path() / ".velmora" / "index.db";
  const std::string at = "The index at " + file.string();
};

TEST_F(HostileIndex, RunsNothingThatAFileHolds) {
  std::string many = "BEGIN;";
  for (int i = 0; i < 3000; ++i) many += "CREATE TABLE t" + std::to_string(i) + "(x);";
  const std::vector<std::string> changes = {
      "DROP TABLE symbols; CREATE VIEW symbols AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL"
      " SELECT i + 1 FROM n) SELECT i AS id, 1 AS file FROM n",
      "CREATE TRIGGER t AFTER UPDATE ON meta BEGIN DELETE FROM symbols; END",
      "CREATE INDEX i ON symbols(abs(start_line))",
      "CREATE VIRTUAL TABLE v USING fts5(x)",
      "ALTER TABLE files ADD COLUMN g AS (path || path)",
      "DROP INDEX vectors_by_text",
      "CREATE TABLE long(x /*" + std::string(100'000, 'x') + "*/)",
      many + "COMMIT",
  };
  const std::string sound = content_of(file);
  for (const std::string& change : changes) {
    defenceless().execute(change);
    EXPECT_EQ(fault(), at + " is damaged. Make it anew with: velmora index --rebuild " +
                           folder.path().string())
        << change.substr(0, 80);
    EXPECT_THROW(fill(1, "other"), IndexError);
    overwrite(file, sound);
  }
  EXPECT_EQ(fault(), "");
  // Tables of ours whose pages go in circles: the root of one is the root of another.
  storage::Database database = defenceless();
  database.execute(
      "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET rootpage = (SELECT"
      " rootpage FROM sqlite_schema WHERE name = 'files') WHERE name = 'symbols'");
  EXPECT_EQ(told(), at + " is damaged. It is made anew");
}

TEST_F(HostileIndex, MakesAnewWhatItDidNotMake) {
  EXPECT_EQ(told(), "");
  const std::string earlier = answer();
  const fs::path copy = file.parent_path() / "copy";
  fs::copy_file(file, copy);
  fs::rename(copy, file);
  EXPECT_EQ(answer(), earlier);
  EXPECT_FALSE(Index::open(file)->made_here());
  EXPECT_EQ(told(), at + " was not made here by you. It is made anew");
  EXPECT_FALSE(fs::exists(file));  // nobody filled it
  fill(1, "own");
  EXPECT_TRUE(Index::open(file)->made_here());
  for (const std::string& junk : {std::string(5000, 'x'), std::string("SQLite format 3\0", 16)}) {
    overwrite(file, junk);
    EXPECT_NE(told().find(". It is made anew"), std::string::npos);
    fill(1, "own");
  }
}

TEST_F(HostileIndex, NoticesEveryDamagedBit) {
  const std::string sound = content_of(file), right = answer();
  // As `index` looks at it, which would put another file in its place.
  const auto is_noticed = [&] {
    try {
      storage::Database database = connect(file, 0);
      if (inspect(database, file) != Content::filled) return true;
      verify(database, file);
      return false;
    } catch (const std::exception&) {
      return true;
    }
  };
  std::mt19937 random(20250611);
  for (int i = 0; i < 150; ++i) {
    std::string damaged = sound;
    if (i % 10 == 9) {
      damaged.resize(random() % sound.size());
    } else {
      char& byte = damaged[i % 3 == 0 ? random() % 200 : random() % damaged.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    overwrite(file, damaged);
    std::string got = right;  // an error is no wrong answer
    try {
      got = answer();
    } catch (const IndexError& error) {
      EXPECT_NE(std::string(error.what()).find(file), std::string::npos) << error.what();
    }
    EXPECT_EQ(got, right) << i;
    EXPECT_TRUE(is_noticed()) << i;
  }
  overwrite(file, sound);
  EXPECT_FALSE(is_noticed());
}

// A log that stands beside an index and is not its own, as a repository may bring one along.
TEST_F(HostileIndex, TakesNoOtherFilesLog) {
  const std::string own = answer();
  const fs::path other = folder.path() / "other.db";
  fs::copy_file(file, other);
  kill_writer(other, 3, "false");
  const std::string log = content_of(log_of(other));
  ASSERT_GT(log.size(), std::size_t{PAGE_SIZE});
  for (const char* suffix : {"-wal", "-journal"}) overwrite(file.string() + suffix, log);
  EXPECT_EQ(answer(), own);
  EXPECT_EQ(answer(*Index::open(other)).find("false"), 0U);  // where it belongs it counts
}

TEST_F(HostileIndex, AnswersWhereNothingCanBeWritten) {
  const fs::path parent = file.parent_path();
  const auto reads = [&](const std::string& right) {
    const auto before = names_in(parent);
    for (const std::string& name : before) fs::permissions(parent / name, fs::perms(0444));
    fs::permissions(parent, fs::perms(0555));
    const bool read = in_a_process([&] { return answer() == right; }, true);
    fs::permissions(parent, fs::perms(0700));
    for (const std::string& name : before) fs::permissions(parent / name, fs::perms(0600));
    return read && names_in(parent) == before;
  };
  EXPECT_TRUE(reads(answer()));
  // What a killed writer committed stands in the log alone.
  const auto alike = Index::open_or_create(folder.path() / "alike.db");
  fill(*alike, 20, "second");
  const std::string second = answer(*alike);
  kill_writer(file, 20, "second");
  ASSERT_TRUE(fs::exists(log_of(file)));
  EXPECT_TRUE(reads(second));
  fs::remove(file.string() + "-shm");
  EXPECT_TRUE(reads(second));
  // No room for a byte more.
  EXPECT_TRUE(in_a_process(
      [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit none{};
        return ::setrlimit(RLIMIT_FSIZE, &none) == 0 && answer() == second;
      },
      false));
  EXPECT_EQ(answer(), second);
}

TEST_F(HostileIndex, AStillReaderFailsWhenTheFileChanges) {
  storage::Database still = connect_still(file);
  const auto count = [&] {
    storage::Statement select = still.prepare("SELECT sum(length(docstring)) FROM symbols");
    return select.step() ? select.column_int64(0) : -1;
  };
  EXPECT_EQ(count(), 50 * 2000);
  sqlite3_db_release_memory(still.handle());  // the pages are read again
  fill(60, "second");
  try {
    static_cast<void>(count());
    ADD_FAILURE() << "it was read";
  } catch (const storage::DatabaseError& error) {
    EXPECT_EQ(error.code(), SQLITE_BUSY);
  }
}

TEST_F(HostileIndex, IsItsOwnersAlone) {
  const mode_t before = ::umask(0);
  const TemporaryFolder other;
  make_index_folder(other.path());
  const fs::path made = other.path() / ".velmora" / "index.db";
  const auto index = Index::open_or_create(made);
  fill(*index, 1, "a");
  EXPECT_EQ(mode_of(made.parent_path()), 0700U);
  for (const std::string& name : names_in(made.parent_path())) {
    EXPECT_EQ(mode_of(made.parent_path() / name), 0600U) << name;
  }
  fs::permissions(made, fs::perms(0644));
  fill(*index, 2, "b");
  EXPECT_EQ(mode_of(made), 0600U);
  ::umask(before);
}

}  // namespace
}  // namespace velmora::host::index
