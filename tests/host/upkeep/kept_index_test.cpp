#include "upkeep/kept_index.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "support/temporary_folder.h"
#include "upkeep/index_place.h"
#include "velmora/host/index/index_folder.h"
#include "velmora/host/index/writer_lock.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using index::WriterLock;
using std::chrono::milliseconds;
using test::TemporaryFolder;

constexpr milliseconds LONG = std::chrono::minutes(1);

class Kept : public ::testing::Test {
 protected:
  // The sources that the index holds when it has caught up, "a.py 14 " for each with its size.
  static std::string files(KeptIndex& kept) {
    const KeptState state = kept.wait(LONG);
    EXPECT_EQ(state.note, "");
    std::string text;
    if (!state.index) return "no index";
    for (const auto& [path, file] : state.index->tree_state().files) {
      text += path + " " + std::to_string(file.size) + " ";
    }
    return text;
  }

  const TemporaryFolder folder;
  const fs::path root = folder.path(), file = index_of_repository(root);
};

TEST_F(Kept, FollowsTheFilesWhoeverWatches) {
  folder.write("a.py", "def f(): pass\n");
  auto first = std::make_optional<KeptIndex>(root);
  EXPECT_EQ(files(*first), "a.py 14 ");
  EXPECT_FALSE(WriterLock::try_take(watch_lock_of(file)));
  // Another session: it does not watch, and answers from the same index.
  KeptIndex second(root);
  const auto expect_both = [&](const std::string& expected) {
    EXPECT_EQ(files(second), expected);
    EXPECT_EQ(files(*first), expected);
  };
  folder.write("new/deep/b.py", "");
  expect_both("a.py 14 new/deep/b.py 0 ");
  folder.write("new/deep/b.py", "x = 1\n");
  expect_both("a.py 14 new/deep/b.py 6 ");
  const KeptState same = second.wait(LONG);
  // The second takes its place.
  first.reset();
  EXPECT_TRUE(WriterLock::try_take(watch_lock_of(file)));
  folder.write("a.py", "");
  EXPECT_EQ(files(second), "a.py 0 new/deep/b.py 6 ");
  EXPECT_FALSE(WriterLock::try_take(watch_lock_of(file)));
  fs::remove_all(root / "new");
  EXPECT_EQ(files(second), "a.py 0 ");
  EXPECT_EQ(second.wait(LONG).index, same.index);
  // Somebody removes the index.
  fs::remove_all(file.parent_path());
  EXPECT_EQ(files(second), "a.py 0 ");
  EXPECT_TRUE(fs::exists(file));
}

TEST_F(Kept, SaysWhatItIsAtMeanwhile) {
  folder.write("a.py", "def f(): pass\n");
  index::make_index_folder(root);
  auto lock = WriterLock::try_take(writer_lock_of(file));
  {
    KeptIndex stopped(root);
    EXPECT_EQ(stopped.wait(milliseconds(1)).note, "The index is being made");
  }
  KeptIndex kept(root);
  const KeptState waiting = kept.wait(milliseconds(1));
  EXPECT_EQ(waiting.note, "The index is being made");
  EXPECT_EQ(waiting.index, nullptr);
  lock.reset();
  EXPECT_EQ(files(kept), "a.py 14 ");
  // Once there is one, it is what there is while another process is at it.
  lock.emplace(*WriterLock::try_take(writer_lock_of(file)));
  folder.write("b.py", "");
  const KeptState busy = kept.wait(
      LONG, [](const std::string& note) { return note.find("changed since") == note.npos; });
  EXPECT_NE(busy.index, nullptr);
  EXPECT_EQ(busy.note.find("1 file changed since; it is being brought up to date by "), 0U)
      << busy.note;
  lock.reset();
  EXPECT_EQ(files(kept), "a.py 14 b.py 0 ");
}

TEST_F(Kept, SaysWhatFailed) {
  KeptIndex disk("/");
  EXPECT_NE(disk.wait(LONG).note.find("--yes"), std::string::npos);
  EXPECT_FALSE(fs::exists("/.velmora"));
  KeptIndex none(root / "none");
  EXPECT_NE(none.wait(LONG).note.find("does not exist"), std::string::npos);
  fs::create_directory(root / "none");
  folder.write("none/a.py", "");
  EXPECT_EQ(files(none), "a.py 0 ");
}

}  // namespace
}  // namespace velmora::host::upkeep
