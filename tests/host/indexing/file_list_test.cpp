#include "velmora/host/indexing/file_list.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/git_program.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/refresh.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;
using Names = std::vector<std::string>;
using Random = std::mt19937;

std::string git(const fs::path& folder, Names arguments) {
  std::string output;
  arguments.insert(arguments.begin(),
                   {"-c", "user.name=a", "-c", "user.email=a@b", "-c", "core.fsync=none"});
  run_git(folder, arguments, [&](std::string_view text) { output += text; });
  return output;
}

// What git lists; repositories below, which it lists as a folder, are left out.
Names by_git(const fs::path& root) {
  const std::string output =
      git(root, {"ls-files", "-z", "--cached", "--others", "--exclude-standard"});
  std::set<std::string> files;
  for (std::size_t at = 0, end = 0; (end = output.find('\0', at)) != output.npos; at = end + 1) {
    std::string file = output.substr(at, end - at);
    if (!file.ends_with('/') && !fs::is_directory(fs::symlink_status(root / file))) {
      files.insert(std::move(file));
    }
  }
  return {files.begin(), files.end()};
}

template <typename T>
const T& one_of(Random& random, const std::vector<T>& all) {
  return all[random() % all.size()];
}

std::string random_pattern(Random& random) {
  static const Names PIECES = {"a",
                               "b",
                               "ab",
                               ".",
                               "*",
                               "**",
                               "***",
                               "?",
                               "/",
                               "//",
                               "[ab]",
                               "[!a]",
                               "[^b]",
                               "[a-b]",
                               "[]a]",
                               "[]-a]",
                               "[a-]",
                               "[b-a]",
                               "[[:alpha:]",
                               "[[:alpha:]]",
                               "[![:digit:]]",
                               "[[:none:]]",
                               "[[:]",
                               "[[::]]",
                               "[a",
                               "\\a",
                               "\\",
                               "\\ ",
                               " ",
                               "  ",
                               "\t",
                               "#",
                               "\\#",
                               "!",
                               "\\!",
                               "[\\]a]",
                               "[\\",
                               "*b",
                               "a*",
                               "**/",
                               "/**",
                               "/**/",
                               "\\/",
                               "[/]",
                               "a/b",
                               "\r",
                               "\xC3\xA4",
                               "[!\xC3]",
                               "[[:alpha:]-b]",
                               "[a-\\b]",
                               std::string("\0", 1)};
  std::string pattern = random() % 5 == 0 ? "!" : "";
  for (auto pieces = random() % 5 + 1; pieces > 0; --pieces) pattern += one_of(random, PIECES);
  return pattern;
}

std::string random_rules(Random& random) {
  std::string text = random() % 10 == 0 ? "\xEF\xBB\xBF" : "";
  for (auto lines = random() % 3 + 1; lines > 0; --lines) {
    text += random_pattern(random) + (random() % 8 == 0 ? "\r\n" : "\n");
  }
  if (random() % 4 == 0) text.pop_back();
  return text;
}

TEST(FileList, FollowsOddPatternsAsGitDoes) {
  const TemporaryFolder folder;
  git(folder.path(), {"init", "-q"});
  Random random(20240905);
  for (int i = 0; i < 300; ++i) {
    const std::string at = std::to_string(i) + "/";
    for (const char* name : {"a", "b", "ab/a", "ab/b/a", "ab/ba", "#", "!", " ", "a ", "a.b", "]",
                             "[a", "\\", "-", "\t", "b\r", "\xC3\xA4"}) {
      folder.write(at + name, "");
    }
    folder.write(at + ".gitignore", random_rules(random));
  }
  // Each byte against each class, which no locale changes.
  for (const std::string name : {"alnum", "alpha", "blank", "cntrl", "digit", "graph", "lower",
                                 "print", "punct", "space", "upper", "xdigit"}) {
    folder.write(name + "/.gitignore", "[[:" + name + ":]]\n");
    for (char c = '\x01'; c != '\0'; ++c) {
      if (c != '/' && c != '.') folder.write(name + "/" + c, "");
    }
  }
  const Names expected = by_git(folder.path());
  const Names files = list_files(folder.path()).files;
  const auto [git, own] = std::ranges::mismatch(expected, files);
  ASSERT_TRUE(git == expected.end() && own == files.end())
      << "git: " << (git == expected.end() ? "" : *git)
      << ", own: " << (own == files.end() ? "" : *own);
}

// Sets variables of the environment for one test.
class Variables {
 public:
  void set(const std::string& name, const std::string& value) {
    ::setenv(name.c_str(), value.c_str(), 1);
    names_.push_back(name);
  }
  ~Variables() {
    for (const std::string& name : names_) ::unsetenv(name.c_str());
  }

 private:
  Names names_;
};

std::string random_file(Random& random) {
  static const Names PARTS = {"a", "b", "ab", "-", "\xFF", "a\nb"};
  std::string file;
  for (auto depth = random() % 4; depth > 0; --depth) file += one_of(random, PARTS) + "/";
  return file + one_of(random, PARTS) + one_of(random, Names{"", ".py", ".c"});
}

// Writes a file unless a file or folder stands in its way.
void try_write(const TemporaryFolder& folder, const std::string& file) {
  std::error_code taken;
  fs::create_directories((folder.path() / file).parent_path(), taken);
  if (!taken && !fs::exists(folder.path() / file)) folder.write(file, file);
}

TEST(FileList, IsGitsForEachKindOfIndex) {
  const TemporaryFolder home;
  Variables variables;
  variables.set("XDG_CONFIG_HOME", home.path());
  Random random(7);
  for (int round = 0; round < 24; ++round) {
    const TemporaryFolder folder, other;
    const fs::path& top = folder.path();
    const int kind = round % 8;
    git(top, {"init", "-q", kind == 4 ? "--object-format=sha256" : "--object-format=sha1"});
    for (int i = 0; i < 30; ++i) try_write(folder, random_file(random));
    folder.write("cone/x.py", "");
    home.write("git/ignore", random_rules(random));
    folder.write(".git/info/exclude", random_rules(random));
    folder.write(".gitignore", random_rules(random));
    // One that a sparse checkout leaves out is followed by git alone.
    if (kind != 6 && fs::is_directory(top / "a")) {
      folder.write("a/.gitignore", random_rules(random));
    }

    git(top, {"add", "-f", "*a*", ":(glob)**/b*", "cone"});
    if (kind == 1 || kind == 2) git(top, {"update-index", "--index-version", "4"});
    if (kind >= 2 && kind <= 4) git(top, {"update-index", "--split-index"});
    git(top, {"commit", "-q", "-m", "files"});
    // Changes that a split index keeps beside the shared one.
    for (int i = 0; i < 4; ++i) {
      const std::string added = "later" + std::to_string(i);
      folder.write(added, "");
      git(top, {"-c", "splitIndex.maxPercentChange=100", "add", "-f", added});
    }
    folder.write("later1", "another content");
    git(top, {"-c", "splitIndex.maxPercentChange=100", "rm", "-rq", "--cached", "--ignore-unmatch",
              "*ab*", "later0"});
    git(top, {"-c", "splitIndex.maxPercentChange=100", "add", "-f", "later1"});
    if (kind == 5) git(top, {"add", "-fN", "."});
    if (kind == 6) {
      git(top, {"sparse-checkout", "set", "--cone", "--sparse-index", "cone"});
    }
    if (kind == 7) {
      git(top, {"worktree", "add", "-q", (other.path() / "tree").string()});
      git(top, {"init", "-q", "nested"});
      folder.write("nested/x.py", "");
      const std::string commit = git(top, {"rev-parse", "HEAD"}).substr(0, 40);
      git(top, {"update-index", "--add", "--cacheinfo", "160000," + commit + ",module"});
      folder.write("module/x.py", "");
    }
    fs::remove(top / "later2");

    std::vector<fs::path> roots = {top};
    if (kind == 7) roots.push_back(other.path() / "tree");
    for (const char* below : {"a", "b", "a/b"}) {
      if (fs::is_directory(top / below)) roots.push_back(top / below);
    }
    for (const fs::path& root : roots) {
      Names expected = by_git(root);
      Names files = list_files(root).files;
      // Where git lists nothing, everything is listed. A sparse index names no files of the folders
      // that are not there.
      if (expected.empty()) continue;
      if (kind == 6) {
        for (Names* names : {&expected, &files}) {
          std::erase_if(*names, [&](const std::string& file) { return !fs::exists(root / file); });
        }
      }
      ASSERT_EQ(files, expected) << "round " << round << " in " << root;
    }
    if (kind == 7) {
      const std::string reason(OTHER_REPOSITORY);
      const std::vector<Skipped> skipped = list_files(top).skipped;
      EXPECT_TRUE(std::ranges::count(skipped, Skipped{"module", reason, true}) == 1);
    }
  }
}

// Every file of a tree, with git and without, is indexed, skipped, ignored, or of another kind,
// unless it is gone or in a folder that is skipped or ignored.
TEST(FileList, IsAccountedForByARefresh) {
  const TemporaryFolder folder, outside;
  const fs::path& top = folder.path();
  for (const char* file : {"a.py", "b.go", "deep/c.rs", "README.md", "deep/notes.md", "data.json",
                           "LICENSE", "gone.md", "gone.py", "ignored.py", "ignored/a", "out/x.py",
                           "out/y.md", "z.gen.py", "module/d.py", "two/e.py"}) {
    folder.write(file, "");
  }
  folder.write("script", "#!/bin/sh\n");
  folder.write("binary.py", std::string(1, '\0'));
  folder.write("large.py", std::string(200, '#'));
  folder.write(".gitignore", "ignored.py\nignored/\n");
  folder.write("deep/.gitignore", "#" + std::string(1U << 20U, '\n'));
  fs::create_symlink("a.py", top / "link.py");
  fs::create_symlink("nowhere", top / "link");
  fs::create_directory_symlink("deep", top / "folder.link");
  for (const char* repository : {"", "module", "two"}) {
    git(top / repository, {"init", "-q"});
    git(top / repository, {"add", "-f", "."});
    git(top / repository, {"commit", "-q", "-m", "a"});
  }
  git(top, {"rm", "-rq", "--cached", "ignored.py", "ignored", "module", "two"});
  git(top, {"add", "module"});
  fs::remove(top / "gone.md");
  fs::remove(top / "gone.py");
  const auto counted = [&](const Names& files) {
    const auto index = index::Index::open_or_create(outside.path() / "index.db");
    const RefreshReport report = refresh(
        top, *index, {.rules = {.largest_file = 100, .leave_out = {"out/", "*.gen.py", "gone.*"}}});
    std::size_t found = report.indexed() + report.ignored.files;
    for (const auto& [extension, count] : report.others) found += count;
    std::size_t expected = 0;
    for (const std::string& file : files) {
      const bool is_inside = std::ranges::any_of(report.skipped, [&](const Skipped& one) {
        return one.is_folder && (file == one.path || file.starts_with(one.path + "/"));
      });
      if (!is_inside && fs::exists(fs::symlink_status(top / file))) ++expected;
    }
    for (const Skipped& one : report.skipped) found += one.is_folder ? 0 : 1;
    EXPECT_EQ(found, expected);
    return report;
  };
  Names told = by_git(top);
  told.push_back("ignored.py");
  const RefreshReport report = counted(told);
  EXPECT_EQ(report.indexed(), 4U);
  EXPECT_EQ(report.ignored, (Ignored{.files = 1, .folders = 1}));
  EXPECT_EQ(report.others, (std::map<std::string, std::size_t>{{"", 3}, {".json", 1}, {".md", 2}}));
  Names skipped;
  for (const Skipped& one : report.skipped) skipped.push_back(one.path);
  EXPECT_EQ(skipped, (Names{"binary.py", "deep/.gitignore", "folder.link", "large.py", "link.py",
                            "module", "out", "two", "z.gen.py"}));
  fs::remove_all(top / ".git");
  Names all;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
    const std::string name = entry.path().lexically_relative(top);
    if (entry.is_directory() && !entry.is_symlink()) continue;
    if (name.find(".git/") == name.npos && name != "ignored/a") all.push_back(name);
  }
  counted(all);
}

TEST(FileList, FollowsNoLinkAndNeverNamesItsOwnFolder) {
  const TemporaryFolder folder, outside;
  for (const char* file : {"a/x.py", "a/.velmora/index.db", ".velmora/index.db", "moved/deep/b.py"})
    folder.write(file, "");
  fs::create_directory_symlink(folder.path(), folder.path() / "circle");
  git(folder.path(), {"init", "-q"});
  git(folder.path(), {"add", "-f", "."});
  // A link takes the place of a folder whose files git tracks.
  fs::rename(folder.path() / "moved", outside.path() / "moved");
  fs::create_directory_symlink(outside.path() / "moved", folder.path() / "moved");
  const Names expected = {"a/x.py", "circle", "moved"};
  EXPECT_EQ(list_files(folder.path()).files, expected);
  fs::remove_all(folder.path() / ".git");
  EXPECT_EQ(list_files(folder.path()).files, expected);
  EXPECT_THROW(static_cast<void>(list_files(folder.path() / "none")), fs::filesystem_error);
  EXPECT_EQ(list_files(folder.path(), expected.size()).files, expected);
  EXPECT_THROW(static_cast<void>(list_files(folder.path(), expected.size() - 1)),
               TooManyFilesError);
}

TEST(FileList, ListsAFolderThatWasAskedForThoughItIsIgnored) {
  const TemporaryFolder folder;
  folder.write(".gitignore", "*\n");
  folder.write("ignored/x.py", "");
  git(folder.path(), {"init", "-q"});
  EXPECT_EQ(list_files(folder.path() / "ignored").files, Names{"x.py"});
}

TEST(FileList, OutsideOfGitGoesIntoRepositories) {
  const TemporaryFolder folder;
  folder.write("one/x.py", "");
  git(folder.path() / "one", {"init", "-q"});
  EXPECT_EQ(list_files(folder.path()).files, Names{"one/x.py"});
  // What is named like a repository and is none has no say.
  folder.write("one/two/.git/HEAD", "");
  folder.write("one/two/y.py", "");
  folder.write("one/three/.git", "gitdir: nowhere\n");
  folder.write("one/three/z.py", "");
  EXPECT_EQ(list_files(folder.path() / "one").files, (Names{"three/z.py", "two/y.py", "x.py"}));
}

// Everything that a repository can have git run writes this file.
class Trap {
 public:
  Trap() {
    program_ = folder_.write("run", "#!/bin/sh\necho ran >" + marker().string() + "\n");
    fs::permissions(program_, fs::perms::owner_all);
  }
  [[nodiscard]] std::string program() const { return program_; }
  [[nodiscard]] bool went_off() const { return fs::exists(marker()); }
  // A configuration that names it wherever a command that lists files may run something.
  [[nodiscard]] std::string configuration() const {
    return "[core]\n\trepositoryformatversion = 1\n\tfsmonitor = " + program() +
           "\n\thooksPath = " + folder_.path().string() + "\n\texcludesFile = " + fifo() +
           "\n[extensions]\n\tpartialClone = far\n[remote \"far\"]\n\turl = /\n\tpromisor = true\n"
           "\tuploadpack = " +
           program() + "\n";
  }

 private:
  [[nodiscard]] fs::path marker() const { return folder_.path() / "marker"; }
  [[nodiscard]] std::string fifo() const {
    const fs::path path = folder_.path() / "fifo";
    static_cast<void>(::mkfifo(path.c_str(), 0600));
    return path;
  }

  const TemporaryFolder folder_;
  std::string program_;
};

TEST(FileList, RunsNothingOfTheRepositoryAndMindsNoVariables) {
  const Trap trap;
  const TemporaryFolder folder, elsewhere;
  const fs::path& top = folder.path();
  folder.write("a.py", "");
  folder.write("ignored.py", "");
  git(top, {"init", "-q"});
  git(top, {"add", "-f", "."});
  // A sparse checkout of a partial clone: git would fetch the ignore file that is missing.
  folder.write("sub/.gitignore", "x.py\n");
  git(top, {"add", "."});
  git(top, {"update-index", "--skip-worktree", "sub/.gitignore"});
  fs::remove(top / "sub/.gitignore");
  folder.write("sub/x.py", "");
  folder.write(".gitignore", "ignored.py\nbuilt.py\n");
  folder.write("built.py", "");
  folder.write(".git/config", trap.configuration());
  const Names expected = {".gitignore", "a.py", "ignored.py", "sub/.gitignore", "sub/x.py"};
  EXPECT_EQ(list_files(top).files, expected);

  // The same behind a file that points elsewhere.
  fs::rename(top / ".git", elsewhere.path() / "moved");
  folder.write(".git", "gitdir: " + (elsewhere.path() / "moved").string() + "\n");
  EXPECT_EQ(list_files(top).files, expected);

  // A folder that looks like a bare repository is a folder.
  folder.write("bare/HEAD", "ref: refs/heads/main\n");
  folder.write("bare/config", trap.configuration() + "[core]\n\tbare = false\n\tworktree = .\n");
  folder.write("bare/objects/x", "");
  folder.write("bare/refs/x", "");
  EXPECT_EQ(list_files(top / "bare").files, (Names{"HEAD", "config", "objects/x", "refs/x"}));
  fs::remove_all(top / "bare");

  // What a hook inherits from the git that runs it.
  const TemporaryFolder other;
  other.write("b.py", "");
  git(other.path(), {"init", "-q"});
  git(other.path(), {"add", "."});
  {
    Variables variables;
    variables.set("GIT_DIR", other.path() / ".git");
    variables.set("GIT_WORK_TREE", other.path());
    variables.set("GIT_INDEX_FILE", other.path() / ".git/index");
    variables.set("GIT_CONFIG_COUNT", "2");
    variables.set("GIT_CONFIG_KEY_0", "core.fsmonitor");
    variables.set("GIT_CONFIG_VALUE_0", trap.program());
    variables.set("GIT_CONFIG_KEY_1", "core.excludesFile");
    variables.set("GIT_CONFIG_VALUE_1", other.write("all", "*\n"));
    EXPECT_EQ(list_files(top).files, expected);
    // Nor is git missed.
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", "/nonexistent", 1);
    EXPECT_EQ(list_files(top).files, expected);
    ::setenv("PATH", path.c_str(), 1);
  }
  EXPECT_FALSE(trap.went_off());
  // The trap is one that git falls into.
  const std::string at = "git -c core.excludesFile=/dev/null -C " + top.string();
  static_cast<void>(std::system((at + " ls-files --others --exclude-standard >/dev/null").c_str()));
  EXPECT_TRUE(trap.went_off());
}

TEST(FileList, UsesTheUsersOwnExcludes) {
  const TemporaryFolder folder, home;
  folder.write("a.py", "");
  folder.write("b.py", "");
  git(folder.path(), {"init", "-q"});
  home.write("git/config", "[core]\n\texcludesFile = " + home.path().string() + "/link\n");
  fs::create_symlink(home.write("mine", "b.py\n"), home.path() / "link");
  Variables variables;
  variables.set("XDG_CONFIG_HOME", home.path());
  EXPECT_EQ(list_files(folder.path()).files, Names{"a.py"});
}

// Each of these would be read for ever, or elsewhere, or is a pattern for nothing.
TEST(FileList, MindsOnlyOrdinaryIgnoreFiles) {
  const TemporaryFolder folder, outside;
  fs::create_directories(folder.path() / "folder/.gitignore");
  for (const char* name : {"device", "fifo", "link", "large"}) {
    fs::create_directories(folder.path() / name);
  }
  fs::create_symlink("/dev/zero", folder.path() / "device/.gitignore");
  ASSERT_EQ(::mkfifo((folder.path() / "fifo/.gitignore").c_str(), 0600), 0);
  fs::create_symlink(outside.write("rules", "*\n"), folder.path() / "link/.gitignore");
  folder.write("large/.gitignore", "*.py\n" + std::string((1U << 20U) + 1, '\n'));
  Names expected;
  for (const char* name : {"device", "fifo", "folder", "large", "link"}) {
    folder.write(std::string(name) + "/a.py", "");
    expected.push_back(std::string(name) + "/a.py");
  }
  const FileList plain = list_files(folder.path());
  git(folder.path(), {"init", "-q"});
  for (const FileList& list : {plain, list_files(folder.path())}) {
    Names files = list.files;
    std::erase_if(files, [](const std::string& file) { return file.ends_with(".gitignore"); });
    EXPECT_EQ(files, expected);
    EXPECT_EQ(
        list.skipped,
        (std::vector<Skipped>{{"large/.gitignore", "it is too large to be followed", false}}));
  }
}

// Names that patterns of stars almost fit: the work is bounded for a pattern, and for the tree. The
// rules of the folders above use up most of it, those of the last one the rest.
TEST(FileList, BoundsTheWorkOfIgnoreRules) {
  const TemporaryFolder folder;
  std::string pattern = "[a]";
  for (int i = 0; i < 2'000; ++i) pattern += "*a";
  std::string rules;
  while (rules.size() < 1'000'000) rules += pattern + "[b]\n";
  std::string deep;
  for (int i = 0; i < 15; ++i) {
    folder.write(deep + ".gitignore", rules);
    if (i == 0) folder.write("a.py", "");
    deep += "d/";
  }
  for (int i = 0; i < 100; ++i) folder.write(deep + std::string(200, 'a') + std::to_string(i), "");
  folder.write(deep + "below/b.py", "");
  deep.pop_back();
  const FileList list = list_files(folder.path());
  EXPECT_EQ(list.files.size(), 16U);  // the rules themselves, and a.py
  EXPECT_EQ(
      list.skipped,
      (std::vector<Skipped>{{deep, "the ignore rules of the tree take too much work", true}}));
}

TEST(FileList, TellsOfPathsBeyondTheSystemsLimit) {
  const TemporaryFolder folder;
  folder.write("a.py", "");
  const fs::path start = fs::current_path();
  const std::string name(250, 'd');
  fs::current_path(folder.path());
  for (int i = 0; i < 30; ++i) {  // in all 7,500 characters
    fs::create_directory(name);
    fs::current_path(name);
  }
  fs::current_path(start);
  const FileList list = list_files(folder.path());
  EXPECT_EQ(list.files, Names{"a.py"});
  ASSERT_EQ(list.skipped.size(), 1U);
  EXPECT_EQ(list.skipped[0].reason, "its path is too long");
  EXPECT_TRUE(list.skipped[0].is_folder);
}

}  // namespace
}  // namespace velmora::host::indexing
