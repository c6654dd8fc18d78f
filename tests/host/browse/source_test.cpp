#include "browse/source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "indexing/source_file.h"
#include "support/temporary_folder.h"

namespace velmora::host::browse {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A tree, and an index of whatever paths a stranger wrote into it.
class Source : public ::testing::Test {
 protected:
  void put(const std::string& path, std::string_view content) {
    index_->update([&](index::Update& update) {
      update.put({.path = path, .language = "c", .hash = indexing::hash_of(content)}, {});
    });
  }
  std::optional<SourceLines> read(const std::string& path, std::int64_t first, std::int64_t last) {
    return read_source(root_, *index_, path, first, last);
  }

  const test::TemporaryFolder folder_;
  const fs::path root_ = folder_.path() / "tree";
  const std::shared_ptr<index::Index> index_ =
      index::Index::open_or_create(folder_.path() / "index.db");
};

TEST_F(Source, ReadsLinesOfTheFileAsItIsNow) {
  const std::string content = "one\r\ntwo\n\nfour";
  const fs::path file = folder_.write("tree/a/b.c", content);
  put("a/b.c", content);
  EXPECT_EQ(read("a/b.c", 2, 3)->lines, (Lines{"two", ""}));
  EXPECT_EQ(read("a/b.c", -5, 1)->lines, Lines{"one"});
  EXPECT_EQ(read("a/b.c", -5, 1)->first, 1);
  EXPECT_EQ(read("a/b.c", 4, INT64_MAX)->lines, Lines{"four"});
  EXPECT_EQ(read("a/b.c", 5, 9)->lines, Lines{});
  EXPECT_EQ(read("a/b.c", 3, 2)->lines, Lines{});
  EXPECT_FALSE(read("a/b.c", 1, 1)->changed);
  // Another time alone is no change; another content of the same time and size is one.
  const auto time = fs::last_write_time(file);
  fs::last_write_time(file, time + std::chrono::hours(1));
  EXPECT_FALSE(read("a/b.c", 1, 1)->changed);
  folder_.write("tree/a/b.c", "ONE\r\ntwo\n\nfour");
  fs::last_write_time(file, time);
  EXPECT_TRUE(read("a/b.c", 1, 1)->changed);
  EXPECT_EQ(read("a/b.c", 1, 1)->lines, Lines{"ONE"});
}

TEST_F(Source, ShowsTheCodeOfNotebooks) {
  const std::string content =
      "{\"cells\": [{\"cell_type\": \"code\", \"source\": [\n\"a = \\\"b\\\"\\n\",\n\"c\"\n]}]}";
  folder_.write("tree/a.ipynb", content);
  put("a.ipynb", content);
  EXPECT_EQ(read("a.ipynb", 1, 9)->lines, (Lines{"", "a = \"b\"", "c"}));
  EXPECT_FALSE(read("a.ipynb", 1, 1)->changed);
  folder_.write("tree/a.ipynb", "{\n");
  EXPECT_EQ(read("a.ipynb", 1, 9)->lines, Lines{"{"});
}

TEST_F(Source, LeadsNowhere) {
  folder_.write("secret.c", "secret");
  folder_.write("outside/c.c", "secret");
  folder_.write("tree/large.c", "");
  fs::resize_file(root_ / "large.c", MOST_SOURCE_BYTES + 1);
  fs::create_directories(root_ / "folder.c");
  fs::create_symlink(folder_.path() / "secret.c", root_ / "link.c");
  fs::create_symlink(folder_.path() / "outside", root_ / "linked");
  ::mkfifo((root_ / "pipe.c").c_str(), 0600);
  const std::string absolute = folder_.path() / "secret.c";
  const std::string nul("large.c\0", 8);
  for (const std::string& path :
       {std::string("../secret.c"), std::string("x/../../secret.c"), absolute, "/" + absolute,
        std::string("link.c"), std::string("linked/c.c"), std::string("pipe.c"),
        std::string("folder.c"), std::string("large.c"), std::string("missing.c"), nul,
        std::string("./large.c"), std::string("large.c/"), std::string()}) {
    put(path, "secret");
    EXPECT_FALSE(read(path, 1, 9)) << path;
  }
  folder_.write("tree/unknown.c", "text");
  EXPECT_FALSE(read("unknown.c", 1, 9)) << "what the index does not hold is not read";
}

}  // namespace
}  // namespace velmora::host::browse
