// A tree that wants to do harm, indexed by the program as its user would.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/hostile_sources.h"
#include "support/process.h"
#include "support/temporary_folder.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using test::run_velmora;
using test::TemporaryFolder;

constexpr int HONEST_FILES = 40;
constexpr std::size_t HOSTILE_BYTES = 20'000;

void write_executable(const fs::path& file, const std::string& marker) {
  std::ofstream(file) << "#!/bin/sh\ntouch " << marker << "\n";
  fs::permissions(file, fs::perms::owner_all);
}

// A repository of version control whose configuration names programs for everything.
void add_programs(const TemporaryFolder& tree, const std::string& marker) {
  ASSERT_EQ(std::system(("git -C " + tree.path().string() + " init -q").c_str()), 0);
  for (const char* hook : {"post-index-change", "fsmonitor-watchman", "pre-auto-gc"}) {
    write_executable(tree.path() / ".git" / "hooks" / hook, marker);
  }
  const std::string program = tree.path() / ".git" / "hooks" / "fsmonitor-watchman";
  std::ofstream config(tree.path() / ".git" / "config", std::ios::app);
  config << "[core]\n\tfsmonitor = " << program << "\n\tpager = " << program
         << "\n\tsshCommand = " << program << "\n\texcludesFile = " << tree.path().string()
         << "/pipe.py\n[filter \"f\"]\n\tclean = " << program << "\n\tsmudge = " << program
         << "\n[diff \"d\"]\n\ttextconv = " << program << "\n\tcommand = " << program << "\n";
  tree.write(".gitattributes", "* filter=f diff=d\n");
}

// What is no source though it is called so.
void add_special_files(const TemporaryFolder& tree, const fs::path& outside) {
  const fs::path root = tree.path();
  ASSERT_EQ(::mkfifo((root / "pipe.py").c_str(), 0600), 0);
  fs::create_symlink("/dev/zero", root / "endless.py");
  fs::create_symlink(outside, root / "secret.py");
  fs::create_directory_symlink("/", root / "everything");
  fs::create_directory_symlink(".", root / "again");
  for (const char* folder : {"rules_pipe", "rules_folder", "rules_endless"}) {
    tree.write(std::string(folder) + "/kept.py", "def kept_by_" + std::string(folder) + "(): 1\n");
  }
  ASSERT_EQ(::mkfifo((root / "rules_pipe/.gitignore").c_str(), 0600), 0);
  fs::create_directory(root / "rules_folder/.gitignore");
  fs::create_symlink("/dev/zero", root / "rules_endless/.gitignore");
  // Only root may make a device.
  static_cast<void>(::mknod((root / "device.py").c_str(), S_IFCHR | 0600, ::makedev(1, 5)));
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  (root / "socket.py").string().copy(address.sun_path, sizeof address.sun_path - 1);
  EXPECT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(socket);
}

void add_odd_names(const TemporaryFolder& tree) {
  for (const char* name : {"new\nline.py", "-rf.py", "\xFF\xFE.py", "a\\b.py", "\"'`$(id).py",
                           "\x1b[31m.py", "~.py", "*.py"}) {
    tree.write(name, "def odd(): pass\n");
  }
  tree.write(std::string(252, 'n') + ".py", "def odd(): pass\n");
  // Deeper than a path of the system may be long.
  int folder = ::open(tree.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::string name(200, 'd');
  for (int depth = 0; depth < 60; ++depth) {
    ASSERT_EQ(::mkdirat(folder, name.c_str(), 0700), 0);
    const int next = ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    folder = next;
  }
  ::close(folder);
}

std::string honest(int number) { return "honest_" + std::to_string(1000 + number); }

TEST(HostileTree, IsIndexedAndHarmsNothing) {
  const TemporaryFolder tree, elsewhere;
  const fs::path secret = elsewhere.write("secret.py", "def secret(): pass\n");
  const fs::path marker = elsewhere.path() / "a-program-ran";
  add_programs(tree, marker);
  add_special_files(tree, secret);
  add_odd_names(tree);
  for (const test::HostileSource& source : test::hostile_sources()) {
    tree.write("hostile/" + source.file(), source.text(HOSTILE_BYTES));
  }
  for (int i = 0; i < HONEST_FILES; ++i) {
    tree.write("honest/" + std::to_string(i) + ".py", "def " + honest(i) + "(): pass\n");
  }

  const auto indexed = run_velmora({"index", tree.path()});
  ASSERT_EQ(indexed.exit_code, 0) << indexed.output << indexed.errors;
  EXPECT_FALSE(fs::exists(marker)) << "a program of the tree ran";
  const auto hits = [&](const std::string& question) {
    return run_velmora({"explore", "--repo", tree.path(), "--no-embeddings", question});
  };
  for (int i = 0; i < HONEST_FILES; i += 13) {
    EXPECT_NE(hits(honest(i)).output.find(honest(i)), std::string::npos) << i;
  }
  for (const char* kept : {"kept_by_rules_pipe", "kept_by_rules_folder", "kept_by_rules_endless"}) {
    EXPECT_NE(hits(kept).output.find(kept), std::string::npos) << kept;
  }
  EXPECT_EQ(hits("secret").exit_code, 1);  // what a link leads to is not in the tree
  const auto odd = hits("odd");
  EXPECT_EQ(odd.exit_code, 0);
  EXPECT_EQ(odd.output.find('\x1b'), std::string::npos);
  const auto again = run_velmora({"index", tree.path()});
  EXPECT_NE(again.output.find(": 0 added, 0 changed, 0 removed,"), std::string::npos)
      << again.output;
}

}  // namespace
}  // namespace velmora::host::cli
