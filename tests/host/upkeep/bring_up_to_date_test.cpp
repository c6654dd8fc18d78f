#include "upkeep/bring_up_to_date.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "index/connection.h"
#include "settings/settings.h"
#include "support/temporary_folder.h"
#include "support/word_models.h"
#include "upkeep/index_place.h"
#include "upkeep/make_index.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

class BringUpToDate : public ::testing::Test {
 protected:
  // Makes the index, as one whose files were looked at long after they were written.
  std::shared_ptr<index::Index> make(MakeOptions options = {}) const {
    options.lock = [](const fs::path& index) {
      return *index::WriterLock::try_take(writer_lock_of(index));
    };
    options.tell = [](const std::string&) {};
    static_cast<void>(make_index(root, options));
    settle();
    return index::Index::open(file);
  }

  void settle() const {
    storage::Database database = index::connect(file, 0);
    storage::Statement update =
        database.prepare("UPDATE files SET modified = ?, changed = ? WHERE path = ? AND size >= 0");
    for (const auto& [path, known] : index::Index::open(file)->tree_state().files) {
      struct stat status {};
      if (::lstat((root / path).c_str(), &status) != 0) continue;
      update.bind(1, nanoseconds(status.st_mtim)).bind(2, nanoseconds(status.st_ctim));
      update.bind(3, path).run();
    }
  }

  static std::int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
  }

  Staleness found() const {
    return staleness(root, index::Index::open(file)->tree_state(), settings::source_rules(root));
  }

  const TemporaryFolder folder;
  const fs::path root = folder.path(), file = index_of_repository(root);
};

TEST_F(BringUpToDate, FindsWhatARefreshFinds) {
  std::mt19937 random(20250309);
  const std::vector<std::string> names = {"a.py", "b.py", "deep/c.py", "x.h", "deep/x.h", "y.cc"};
  const std::vector<std::string> settings = {"", "index.leave_out = ['deep/']",
                                             "languages = {'*.h' = 'cpp', 'y.cc' = 'c'}",
                                             "index.leave_out = ['*.py', '!a.py']"};
  const auto index = make();
  int sizes = 0;
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    for (auto edits = random() % 4; edits > 0; --edits) {
      const std::string& name = names[random() % names.size()];
      switch (random() % 5) {
        case 0:
          folder.write(".velmora.toml", settings[random() % settings.size()]);
          break;
        case 4:
          fs::remove(root / name);
          break;
        case 1:
          folder.write("not_a_source.bin", name);
          break;
        default:  // of another length than any before
          folder.write(name, "int f" + std::string(static_cast<std::size_t>(++sizes), 'x') + ";\n");
      }
    }
    const UpkeepReport report = bring_up_to_date(root, *index, {.budget = NO_BUDGET});
    const Staleness& stale = report.staleness;
    EXPECT_EQ(report.standing, stale.is_fresh() ? Standing::fresh : Standing::refreshed);
    const indexing::RefreshReport refreshed =
        report.refreshed ? *report.refreshed
                         : indexing::refresh(root, *index, {.rules = settings::source_rules(root)});
    EXPECT_EQ(stale.added, refreshed.added);
    EXPECT_EQ(stale.changed, refreshed.changed);
    EXPECT_EQ(stale.removed, refreshed.removed);
    EXPECT_EQ(stale.bytes > 0, stale.added + stale.changed > 0);
    settle();
    EXPECT_TRUE(found().is_fresh());
  }
  EXPECT_GT(sizes, 20);
}

// What is left out is looked at, and does not make an index stale for ever.
TEST_F(BringUpToDate, KnowsWhatIsLeftOut) {
  folder.write("large.py", std::string(100, '#'));
  folder.write("binary.py", std::string(1, '\0'));
  folder.write("a.py", "def f(): pass\n");
  fs::create_symlink("a.py", root / "link.py");
  const auto index = make({.largest_file = 50});
  EXPECT_TRUE(found().is_fresh());
  // The limit is the index's own.
  folder.write("b.py", "def g(): pass\n");
  EXPECT_EQ(bring_up_to_date(root, *index).refreshed->skipped.size(), 3U);
  settle();
  EXPECT_TRUE(found().is_fresh());
  folder.write("a.py", std::string(100, '#'));
  EXPECT_EQ(found().removed, 1U);
  fs::remove(root / "link.py");
  EXPECT_EQ(found().unproven, 1U);
  EXPECT_EQ(to_text(found()), "1 file changed since");
  // What a system's clock leaves open is no change that anybody is told of.
  index::connect(file, 0).execute("UPDATE files SET modified = -1, changed = -1");
  folder.write("a.py", "def f(): pass\n");
  EXPECT_EQ(to_text(found()), "");
  EXPECT_GE(found().unproven, 2U);
  index::connect(file, 0).execute("UPDATE meta SET extraction = 'other'");
  EXPECT_TRUE(found().other_extraction);
  EXPECT_GT(found().bytes, 10U);
}

TEST_F(BringUpToDate, WaitsForNobodyAndSaysWhy) {
  folder.write("a.py", "def f(): pass\n");
  const auto index = make();
  const std::string before = index->retrieval_fingerprint().value;
  folder.write("a.py", "def another(): pass\n");
  folder.write("b.py", "def g(): pass\n");
  const auto note_with = [&](const UpkeepOptions& options) {
    return note(bring_up_to_date(root, *index, options), root);
  };
  EXPECT_EQ(note_with({.budget = std::chrono::seconds(0)}),
            "2 files changed since; velmora index " + root.string() + " brings it up to date");
  {
    const auto lock = index::WriterLock::try_take(writer_lock_of(file));
    EXPECT_EQ(
        note_with({}).find("2 files changed since; it is being brought up to date by process " +
                           std::to_string(::getpid())),
        0U);
  }
  fs::rename(file.parent_path() / "lock", root / "kept");
  fs::create_directory(file.parent_path() / "lock");
  EXPECT_EQ(note_with({}).find("The index could not be brought up to date: "), 0U);
  fs::remove(file.parent_path() / "lock");
  // What the caller throws reaches it.
  struct Stop {};
  EXPECT_THROW(note_with({.progress = [](const auto&) { throw Stop(); }}), Stop);
  EXPECT_EQ(index->retrieval_fingerprint().value, before);
  EXPECT_EQ(note_with({.budget = NO_BUDGET}), "");
  EXPECT_NE(index->retrieval_fingerprint().value, before);
}

TEST_F(BringUpToDate, LeavesAloneWhatIsNotOurs) {
  folder.write("a.py", "def f(): pass\n");
  index::make_index_folder(root);
  auto imported = index::Index::open_or_create(file);
  imported->replace([] { return std::optional<index::Symbol>(); });
  EXPECT_EQ(bring_up_to_date(root, *imported).standing, Standing::not_ours);
  EXPECT_EQ(note(bring_up_to_date(root, *imported), root), "");
  imported.reset();
  // A copy, as of a clone.
  static_cast<void>(make());
  const TemporaryFolder clone;
  fs::copy(root, clone.path(), fs::copy_options::recursive);
  const auto copied = index::Index::open(index_of_repository(clone.path()));
  clone.write("b.py", "def g(): pass\n");
  const UpkeepReport report = bring_up_to_date(clone.path(), *copied);
  EXPECT_EQ(report.standing, Standing::not_ours);
  EXPECT_NE(note(report, clone.path()).find("was not made here by you"), std::string::npos);
  EXPECT_EQ(copied->tree_state().files.size(), 1U);
}

TEST_F(BringUpToDate, EmbedsAsTheIndexWasMade) {
  const auto model = [&](const char* word) {
    const fs::path path = root / (std::string(word) + ".model");
    test::write_model(path, {{word, {3, 1}}, {"f", {1, 1}}});
    return embedding::WordModel::open(path);
  };
  const auto first = model("alpha");
  const auto other = model("beta");
  folder.write("a.py", "def f(): pass\n");
  const auto index = make({.model = first});
  std::size_t edits = 0;
  const auto embedded_with = [&](const std::shared_ptr<const embedding::WordModel>& given,
                                 const std::string& body = "0") {
    if (body == "0") ++edits;
    folder.write("a.py", "def f(): pass\ndef alpha(): pass" + std::string(edits, '\n') +
                             "def beta" + std::string(edits, 'a') + "(): return " + body + "\n");
    const auto report = bring_up_to_date(root, *index, {.model = [&] { return given; }});
    EXPECT_EQ(index->tree_state().own_model, first->name());
    return report.refreshed->embedded;
  };
  EXPECT_EQ(embedded_with(first), 1);
  EXPECT_EQ(embedded_with(first, "alpha"), 1);  // its body alone is another
  EXPECT_EQ(embedded_with(other), 0);
  EXPECT_EQ(embedded_with(nullptr), 0);
  static_cast<void>(make({.rebuild = true}));
  const auto without = index::Index::open(file);
  folder.write("b.py", "def alpha(): pass\n");
  EXPECT_EQ(bring_up_to_date(root, *without, {.model = [&] { return first; }}).standing,
            Standing::refreshed);
  EXPECT_EQ(without->tree_state().own_model, "");
}

}  // namespace
}  // namespace velmora::host::upkeep
