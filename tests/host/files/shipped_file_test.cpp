#include "files/shipped_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/temporary_folder.h"

namespace velmora::host::files {
namespace {

namespace fs = std::filesystem;

// The layouts of a build, a wheel, an install and an install with folders for architectures.
TEST(ShippedFile, IsBesideOrInstalledNearTheObject) {
  for (const auto& [object, file] : {std::pair{"build/libx.so", "build/x.model"},
                                     {"wheel/libx.so", "wheel/share/x/x.model"},
                                     {"usr/bin/x", "usr/share/x/x.model"},
                                     {"usr/lib/arch/libx.so", "usr/share/x/x.model"}}) {
    const test::TemporaryFolder folder;
    const fs::path at = folder.write(object, "");
    EXPECT_EQ(file_around(at, "x.model", "share/x"), at.parent_path() / "x.model");  // none yet
    folder.write("share/x/x.model", "far");
    const fs::path found = folder.write(file, "near");
    EXPECT_EQ(file_around(at, "x.model", "share/x"), found);
  }
}

TEST(ShippedFile, IsNobodyElses) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the administrator can give files away";
  const test::TemporaryFolder folder;
  const fs::path object = folder.write("bin/x", "");
  const fs::path file = folder.write("share/x/x.model", "");
  constexpr uid_t STRANGER = 4711;
  ASSERT_EQ(::chown(file.c_str(), STRANGER, STRANGER), 0);
  EXPECT_EQ(file_around(object, "x.model", "share/x"), object.parent_path() / "x.model");
  ASSERT_EQ(::chown(object.c_str(), STRANGER, STRANGER), 0);
  EXPECT_EQ(file_around(object, "x.model", "share/x"), file);
}

}  // namespace
}  // namespace velmora::host::files
