// That SQLite sorts in memory however much there is to sort, seen by the files that it opens.
#include "workers/retrieval/sort_memory.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace velmora::workers::retrieval::internal {
namespace {

// The default file system while this lives; counts the files that are opened.
class CountingFiles {
 public:
  CountingFiles() : default_(sqlite3_vfs_find(nullptr)), vfs_(*default_) {
    vfs_.zName = "counting";
    vfs_.pAppData = this;
    vfs_.xOpen = [](sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* out) {
      auto& files = *static_cast<CountingFiles*>(vfs->pAppData);
      ++files.opened;
      return files.default_->xOpen(files.default_, name, file, flags, out);
    };
    sqlite3_vfs_register(&vfs_, 1);
  }
  CountingFiles(const CountingFiles&) = delete;
  CountingFiles& operator=(const CountingFiles&) = delete;
  ~CountingFiles() {
    sqlite3_vfs_unregister(&vfs_);
    sqlite3_vfs_register(default_, 1);
  }

  int opened = 0;

 private:
  sqlite3_vfs* default_;
  sqlite3_vfs vfs_;
};

TEST(SortMemory, NoSortThatFitsItsChoiceOpensAFile) {
  CountingFiles files;
  storage::Database database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  SortMemory memory(database, 1 << 20);
  storage::Statement sort = database.prepare(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ?1) "
      "SELECT i, zeroblob(40) FROM n ORDER BY i * 7919 % 10007");
  // Each line: what was said to come, what comes, and whether it may reach a file. Rows of a block
  // of 1 MiB: 14,563 with one phrase (1,048,576 / 72), 121 with 1,072 (1,048,576 / 8,640).
  const struct {
    std::size_t rows, phrases;
    std::int64_t sorted;
    bool file;
  } table[] = {{100, 1, 100, false},
               {14'563, 1, 9'000, false},
               {14'564, 1, 60'000, false},
               {122, 1'072, 60'000, false},
               {121, 1'072, 60'000, true}};  // broken promise: shows that the block was used
  for (const auto& line : table) {
    files.opened = 0;
    memory.choose(line.rows, line.phrases);
    sort.bind(1, line.sorted);
    ASSERT_TRUE(sort.step());
    EXPECT_EQ(files.opened > 0, line.file) << line.rows << " " << line.phrases;
    sort.reset();
  }
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
