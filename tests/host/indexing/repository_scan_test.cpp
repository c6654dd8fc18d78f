#include "velmora/host/indexing/repository_scan.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using test::run_velmora;
using test::TemporaryFolder;

using Names = std::vector<std::string>;

// Every symbol of a scan, as "path name language", and every skipped file, as "path: reason".
Names scan_all(RepositoryScan& scan) {
  Names found;
  while (const auto scanned = scan.next()) {
    const index::FileRecord& file = scanned->file;
    if (!file.skipped.empty()) found.push_back(file.path + ": " + file.skipped);
    for (const index::Symbol& symbol : scanned->symbols) {
      found.push_back(symbol.path + " " + symbol.name + " " + symbol.language);
    }
  }
  return found;
}

TEST(RepositoryScan, SkipsWithAReason) {
  const TemporaryFolder folder, outside;
  folder.write("a.py", "def f(): pass");
  folder.write("binary.py", std::string("def f(): pass\0", 14));
  folder.write("large.py", std::string(200'000, '#'));
  folder.write("minified.py", "a = 1\nb = " + std::string(2'500, '1'));
  folder.write("other.txt", "");
  fs::create_symlink("a.py", folder.path() / "link.py");
  fs::create_symlink("nowhere.py", folder.path() / "broken.py");
  fs::create_symlink("loop.py", folder.path() / "loop.py");
  fs::create_symlink(outside.write("b.py", "def g(): pass"), folder.path() / "out.py");
  fs::create_directory_symlink(".", folder.path() / "circle");
  fs::create_directory_symlink(outside.path(), folder.path() / "outside");
  RepositoryScan scan(folder.path(), {.rules = {.largest_file = 100'000}});
  EXPECT_EQ(
      scan_all(scan),
      (Names{"a.py f python", "binary.py: it is binary", "broken.py: it is a link to nothing",
             "large.py: it is larger than 100000 bytes", "link.py: it is a link within the tree",
             "loop.py: it is a link to nothing", "minified.py: it is generated or minified",
             "out.py: it is a link that leaves the tree"}));
  EXPECT_EQ(scan.skipped(),
            (std::vector<Skipped>{{"circle", "it is a link within the tree", true},
                                  {"outside", "it is a link that leaves the tree", true}}));
  EXPECT_EQ(scan.file_count(), 8U);
  EXPECT_EQ(scan.files_done(), 8U);
}

TEST(RepositoryScan, KnowsFilesByTheirNamesAndBeginnings) {
  struct Case {
    const char* file;
    std::string content;
    const char* language;  // empty: it is of another kind
  };
  const Case cases[] = {
      {"Rakefile", "", "ruby"},
      {"a.rbi", "", "ruby"},
      {".bashrc", "", "bash"},
      {"build.sbt", "", "scala"},
      {"kernel.cu", "", "cpp"},
      {"a/b.c", "", "c"},
      {"run", "#!/bin/sh\n", "bash"},
      {"spaced", "#! /usr/bin/env  ruby -w\r\n", "ruby"},
      {"versioned", "#!/usr/bin/python3.11", "python"},
      {"split", "#!/usr/bin/env -S A=b node --no-warnings\n", "javascript"},
      {"joined", "#!/usr/bin/env -Slua5.4\n", "lua"},
      {"nothing", "#!/usr/bin/env -i\n", ""},
      {"other", "#!/usr/bin/awk -f\n", ""},
      {"late", "\n#!/bin/sh\n", ""},
      {"empty", "", ""},
      {"cut", "#!/" + std::string(600, 'a') + "/sh\n", ""},
      {"named.txt", "#!/bin/sh\n", ""},
      {"page.inc", "\xEF\xBB\xBF\n<?php\n", "php"},
      {"c.inc", "/* */ int f(void);", "c"},
      {"a/cpp.inc", "#  define A\nnamespace n { class A {}; }", "cpp"},
      {"nasm.inc", "; text\n%define A\n", ""},
      {"make.inc", "# define A\n", "c"},  // as a directive may be written
      {"a/make.inc", "# the flags\n", ""},
  };
  const TemporaryFolder folder;
  std::map<std::string, std::string> expected, found;
  for (const Case& one : cases) {
    folder.write(one.file, one.content);
    if (*one.language != '\0') expected[one.file] = one.language;
  }
  ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
  fs::create_symlink("run", folder.path() / "link");
  RepositoryScan scan(folder.path());
  while (const auto scanned = scan.next()) found[scanned->file.path] = scanned->file.language;
  EXPECT_EQ(found, expected);
  // Without any source of theirs, nothing is taken for C.
  fs::remove(folder.path() / "a/b.c");
  fs::remove(folder.path() / "kernel.cu");
  RepositoryScan without(folder.path());
  EXPECT_EQ(without.file_count(), expected.size() - 5);
}

TEST(RepositoryScan, TellsTheLanguageOfAHeaderByItsNeighbours) {
  const TemporaryFolder folder;
  folder.write("c/a.c", "");
  folder.write("c/plain.h", "int f(void);");
  folder.write("c/really.h", "namespace n { class A {}; }");
  folder.write("cpp/a.cc", "");
  folder.write("cpp/deep/plain.h", "int f(void);");
  folder.write("top.h", "int f(void);");
  RepositoryScan scan(folder.path());
  EXPECT_EQ(scan_all(scan),
            (Names{"c/plain.h f c", "c/really.h A cpp", "cpp/deep/plain.h f cpp", "top.h f c"}));
}

TEST(RepositoryScan, IsTheSameForAnyNumberOfThreads) {
  const TemporaryFolder folder;
  Names expected;
  for (int i = 0; i < 400; ++i) {  // more than the threads work ahead
    const std::string name = std::to_string(1000 + i);
    folder.write(name + ".py", "def f" + name + "(): pass");
    expected.push_back(name + ".py f" + name + " python");
  }
  for (const unsigned threads : {1U, 3U}) {
    RepositoryScan scan(folder.path(), {.threads = threads});
    EXPECT_EQ(scan_all(scan), expected);
  }
  RepositoryScan abandoned(folder.path());
  EXPECT_EQ(abandoned.next()->file.path, "1000.py");
}

TEST(IndexCommand, ReplacesTheIndexOfAFolder) {
  const TemporaryFolder folder;
  folder.write("a.py", "def f(): pass\ndef g(): pass");
  fs::create_symlink("a.py", folder.path() / "b.py");
  const auto first = run_velmora({"index", folder.path()});
  EXPECT_EQ(first.exit_code, 0);
  EXPECT_EQ(first.output.find("Indexed 1 file, 2 symbols, in "), 0U) << first.output;
  EXPECT_NE(first.output.find("\nSkipped 1 (1: it is a link within the tree)"), std::string::npos)
      << first.output;
  EXPECT_EQ(list_files(folder.path()).files, (Names{"a.py", "b.py"}));
  EXPECT_TRUE(fs::exists(folder.path() / ".velmora" / ".gitignore"));

  folder.write("a.py", "def h(): pass");
  EXPECT_EQ(run_velmora({"index", folder.path()}).output.find("Indexed 1 file, 1 symbol, in "), 0U);

  const std::string missing = folder.path() / "none";
  EXPECT_EQ(run_velmora({"index", missing}).exit_code, 3);
  EXPECT_EQ(run_velmora({"index", folder.path() / "a.py"}).exit_code, 3);
  EXPECT_EQ(run_velmora({"index", "a", "b"}).exit_code, 2);
  EXPECT_FALSE(fs::exists(missing));
}

}  // namespace
}  // namespace velmora::host::indexing
