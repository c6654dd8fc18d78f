#include "indexing/folder_watch.h"

#include <gtest/gtest.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "support/temporary_folder.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using test::TemporaryFolder;

// Wakes a watch that sees nothing, so that the test fails and does not hang.
class Alarm {
 public:
  Alarm() : descriptor_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)) {
    const itimerspec time{{}, {30, 0}};
    ::timerfd_settime(descriptor_, 0, &time, nullptr);
  }
  Alarm(const Alarm&) = delete;
  ~Alarm() { ::close(descriptor_); }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  const int descriptor_;
};

TEST(FolderWatch, FindsItsRootAgain) {
  const TemporaryFolder folder;
  const fs::path root = folder.path() / "above/root";
  folder.write("above/root/a.py", "");
  folder.write("other/deep/b.py", "");
  const Alarm alarm;
  FolderWatch watch(root, alarm.descriptor());
  const auto expect_change = [&](const char* what, const std::function<void()>& change) {
    change();
    // Events are there when the call that caused them is done: none is left for the next change.
    EXPECT_TRUE(watch.wait(milliseconds(0), std::chrono::minutes(1))) << what;
    if (fs::exists(root)) {
      watch.watch_folders();
    } else {
      EXPECT_THROW(watch.watch_folders(), fs::filesystem_error) << what;
    }
  };
  watch.watch_folders();
  expect_change("a file", [&] { folder.write("above/root/a.py", "x"); });
  expect_change("removal", [&] { fs::remove_all(root); });
  expect_change("return", [&] { fs::create_directory(root); });
  expect_change("a file in the new root", [&] { folder.write("above/root/c.py", ""); });
  expect_change("a swap", [&] {
    fs::rename(root, folder.path() / "old");
    fs::rename(folder.path() / "other", root);
  });
  expect_change("a file in the other root", [&] { folder.write("above/root/deep/b.py", "x"); });
  expect_change("removal of the folder above", [&] { fs::remove_all(folder.path() / "above"); });
  expect_change("return of the folder above", [&] { fs::create_directory(root.parent_path()); });
  expect_change("return below it", [&] { fs::create_directory(root); });
  expect_change("a file at last", [&] { folder.write("above/root/d.py", ""); });
}

}  // namespace
}  // namespace velmora::host::indexing
