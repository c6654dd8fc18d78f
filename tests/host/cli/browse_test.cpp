// What show, outline, status and clean tell of a small repository.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "browse/definition.h"
#include "browse/outline.h"
#include "index/connection.h"
#include "support/files.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::run_velmora;

constexpr std::string_view STORE = R"(class Store:
    """Keeps things."""

    def size(self):
        return 1

    class Load(dict):
        """Reads a file."""
        class Line:
            def end(self): pass
)";

class Browse : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_.write("repo/app/store.py", STORE);
    folder_.write("repo/app/deep/other.py", "def size():\n    pass\n");
    folder_.write("repo/app/pair.c",
                  "// Adds.\nint a(int n) { return n; } int b(void) { return 1; }\n");
    folder_.write("repo/notes.md", "");
    folder_.write("repo/binary.py", std::string("\0", 1));
    ASSERT_EQ(run_velmora({"index", repo_}).exit_code, 0);
  }
  // Runs a command in a folder of the repository.
  test::Finished run(const std::vector<std::string>& arguments, const std::string& at = ".") {
    return run_velmora(arguments, "", fs::path(repo_) / at);
  }

  const test::TemporaryFolder folder_;
  const std::string repo_ = folder_.path() / "repo";
};

// Without the numbers of symbols.
std::string without_ids(std::string text) {
  for (std::size_t at = 0; (at = text.find("  @", at)) != std::string::npos;) {
    text.erase(at, text.find('\n', at) - at);
  }
  return text;
}

TEST_F(Browse, ShowsTheDefinitionThatIsMeant) {
  const std::string load =
      "app/store.py:7-10  class app.store.Store.Load  Store.Load(dict)\n"
      "    in class app.store.Store, lines 1-10\n"
      " 7      class Load(dict):\n"
      " 8          \"\"\"Reads a file.\"\"\"\n"
      " 9          class Line:\n"
      "10              def end(self): pass\n";
  const fs::path link = folder_.path() / "link";
  fs::create_directory_symlink(repo_, link);
  const std::string id = std::to_string(
      json::parse(run({"show", "--json", "Load"}).output)["symbols"][0]["id"].get<std::int64_t>());
  for (const auto& [what, at] : std::vector<std::pair<std::string, std::string>>{
           {"Load", "."},
           {"load", "."},
           {"Store.load", "app/deep"},
           {"app.store.Store.Load", "."},
           {id, "."},
           {"@" + id, "."},
           {"app/store.py:8", "."},
           {"app/store.py:7:3:", "."},
           {"app/store.py:7-10", "."},
           {"app/store.py:8-9", "."},
           {"app/store.py:8", "app/deep"},
           {"../store.py:8", "app/deep"},
           {"store.py:8", "app/deep"},
           {repo_ + "/app/./store.py:8", "."},
           {link / "app/store.py:8", "app"},
       }) {
    const auto shown = run({"show", what}, at);
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(without_ids(shown.output), load) << what << shown.errors;
  }
  // From outside a folder is named, and paths are as the user sees them or as the index has them.
  for (const std::string what : {"repo/app/store.py:8", "app/store.py:8"}) {
    EXPECT_EQ(without_ids(run({"show", "--repo", "repo/app", what}, "..").output), load) << what;
  }
  EXPECT_NE(run({"show", "Line"}).output.find("\n    in class app.store.Store.Load, lines 7-10\n"),
            std::string::npos);
  // A docstring that its lines do not show.
  EXPECT_EQ(without_ids(run({"show", "a"}).output).find("app/pair.c:2  function a  "), 0U);
  EXPECT_NE(run({"show", "a"}).output.find("\n    Adds.\n2  int a(int n)"), std::string::npos);
  // A body, and what a header says of it.
  folder_.write("repo/app/a.h", "// Gives one.\nint b(void);\n");
  EXPECT_EQ(without_ids(run({"show", "b"}).output),
            "app/pair.c:2  function b  b(void) -> int\n    see also app/a.h:2\n    Gives one.\n"
            "2  int a(int n) { return n; } int b(void) { return 1; }\n");
  folder_.write("repo/app/store.py", "# New.\n" + std::string(STORE));
  const std::string left = run({"show", "--no-refresh", "Load"}).output;
  EXPECT_NE(left.find("The file changed since it was indexed: these"), std::string::npos);
  EXPECT_NE(run({"show", "Load"}).output.find("\n 8      class Load(dict):"), std::string::npos);
  fs::remove(fs::path(repo_) / "app/store.py");
  EXPECT_NE(run({"show", "--no-refresh", "Load"}).output.find("The source cannot be read."),
            std::string::npos);
  EXPECT_EQ(run({"show", "Load"}).exit_code, 1);
}

TEST_F(Browse, ListsWhatAnUnclearNameMayMean) {
  const auto several = run({"show", "size"});
  EXPECT_EQ(several.exit_code, 0);
  EXPECT_EQ(without_ids(several.output),
            "app/deep/other.py:1-2  function app.deep.other.size  size()\n"
            "app/store.py:4-5  method app.store.Store.size  Store.size()\n");
  EXPECT_NE(several.errors.find("2 symbols fit. Name one"), std::string::npos);
  const json found = json::parse(run({"show", "--json", "--limit", "1", "size"}).output);
  EXPECT_EQ(found["total"], 2);
  ASSERT_EQ(found["symbols"].size(), 1U);
  const std::string id = std::to_string(found["symbols"][0]["id"].get<std::int64_t>());
  const json shown = json::parse(run({"show", "--json", id}).output)["symbols"][0];
  EXPECT_EQ(shown["fqn"], "app.deep.other.size");
  EXPECT_EQ(shown["source"]["lines"], (std::vector<std::string>{"def size():", "    pass"}));
  const std::vector<std::tuple<std::vector<std::string>, int, std::string>> nothing = {
      {{"show", "sizes"}, 1, "velmora: No symbol has the name sizes. Did you mean: size?\n"},
      {{"show", "app/store.py:900"}, 1, "velmora: No symbol of app/store.py has line 900. For"},
      {{"show", "store.py"}, 1, "velmora: store.py is a place, not a symbol. For its symbols: "},
      {{"show", "../repo/secret:1"}, 1, "velmora: No symbol has the name"},
      {{"show"}, 2, "velmora: symbol is required"},
      {{"outline", "missing"}, 1, "velmora: The index has nothing at missing\n"},
      {{"outline", ".."}, 1, "velmora: The index has nothing at ..\n"},
      {{"outline", "binary.py"}, 1, "velmora: binary.py is left out: it is binary\n"},
      {{"outline", "--repo", "none"}, 3, "velmora: none does not exist\n"},
  };
  for (const auto& [arguments, exit_code, error] : nothing) {
    const auto result = run(arguments);
    EXPECT_EQ(result.exit_code, exit_code) << error;
    EXPECT_EQ(result.errors.substr(0, error.size()), error);
    EXPECT_EQ(result.output, "");
  }
}

TEST_F(Browse, OutlinesNested) {
  const std::string store =
      "app/store.py\n"
      "  1-10  class Store\n"
      "    4-5  method Store.size()\n"
      "    7-10  class Store.Load(dict)\n"
      "      9-10  class Store.Load.Line\n"
      "        10  method Store.Load.Line.end()\n";
  EXPECT_EQ(run({"outline", "app/store.py"}).output, store);
  EXPECT_EQ(run({"outline", "store.py"}, "app/deep").output, store);
  const std::string other = "app/deep/other.py\n  1-2  function size()\n";
  EXPECT_EQ(run({"outline"}, "app/deep").output, other);
  EXPECT_EQ(run({"outline", "deep/"}, "app").output, other);
  fs::create_directory(fs::path(repo_) / "empty");
  EXPECT_EQ(run({"outline"}, "empty").exit_code, 1);
  const auto all = run({"outline", "--limit", "2"});
  // Two on one line stand beside each other.
  EXPECT_EQ(all.output.find(other + "app/pair.c\n  2  function "), 0U) << all.output;
  EXPECT_NE(all.output.find("and 6 symbols more; --limit has them"), std::string::npos);
  const json whole = json::parse(run({"outline", "--json", "app"}).output);
  EXPECT_EQ(whole["total"], 8);
  EXPECT_EQ(whole["symbols"][2]["depth"], 0);
  EXPECT_EQ(whole["symbols"][7]["depth"], 3);
  // A limit leaves out whole lines, and says how many.
  const auto index = index::Index::open(fs::path(repo_) / ".velmora" / "index.db");
  const browse::Outline outline = browse::outline_of(*index, "app/store.py", 100);
  const browse::LimitedText limited = browse::outline_text(outline, 13 + 16 + 5);
  EXPECT_EQ(limited.text, "app/store.py\n  1-10  class Store\n");
  EXPECT_EQ(limited.left_out, 4U);
}

TEST_F(Browse, TellsWhatAnIndexHoldsAndWhatChanged) {
  const std::string text = run({"status"}).output;
  for (const std::string& part :
       {"Index: " + repo_ + "/.velmora/index.db, ", std::string("\nWritten: 20"),
        std::string("Files: 3: 2 python, 1 c\nSymbols: 8: 6 python, 2 c\nKinds: "),
        std::string(
            "Left out: 1 (it is binary)\n  binary.py: it is binary\n1 file of other kinds: 1 .md\n"
            "Nothing changed since.\n")}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
  }
  const std::string index = test::content_of(fs::path(repo_) / ".velmora" / "index.db");
  folder_.write("repo/new.go", "package a\n");
  folder_.write("repo/app/deep/other.py", "def size():\n    return\n");
  folder_.write("repo/app/pair.c", test::content_of(fs::path(repo_) / "app/pair.c"));  // the same
  fs::remove(fs::path(repo_) / "app/store.py");
  const json status = json::parse(run({"status", "--json", repo_}, "/").output);
  EXPECT_EQ(status["changes"], json::parse(R"({"added":["new.go"],"removed":["app/store.py"],
                                               "changed":["app/deep/other.py"]})"));
  EXPECT_EQ(status["symbols_by_language"], json::parse(R"({"python":6,"c":2})"));
  EXPECT_EQ(status["models"][0]["vectors"].get<int>() + status["models"][0]["without"].get<int>(),
            8);
  EXPECT_EQ(status["made_here"], true);
  EXPECT_NE(run({"status"}).output.find("Since then 1 added, 1 changed, 1 removed\n  added new.go"),
            std::string::npos);
  EXPECT_EQ(test::content_of(fs::path(repo_) / ".velmora" / "index.db"), index);
  EXPECT_EQ(run({"status", "--repo", "a", "b"}).exit_code, 2);
  EXPECT_EQ(run({"status", folder_.path()}).exit_code, 3);
}

TEST_F(Browse, RemovesAnIndexAndNothingElse) {
  const fs::path at = fs::path(repo_) / ".velmora";
  EXPECT_EQ(run({"clean"}).exit_code, 2) << "there is no terminal to ask on";
  {
    const auto watched = index::WriterLock::try_take(at / "watch.lock");
    EXPECT_NE(run({"clean", "-y"}).errors.find("velmora: The files are watched by process "),
              std::string::npos);
  }
  EXPECT_TRUE(fs::exists(at / "index.db"));
  EXPECT_EQ(run({"clean", "--yes"}, "app")
                .errors.find("velmora: There is no index in " + repo_ +
                             "/app. The nearest is removed by: velm"),
            0U);
  folder_.write("repo/.velmora/theirs", "kept");
  folder_.write("repo/.velmora/index.db-wal0123456789abcdef", "of a process that was killed");
  fs::create_symlink(folder_.write("victim", "kept"), at / "tuned.model");
  const auto removed = run({"clean", "--yes"});
  EXPECT_EQ(removed.exit_code, 0) << removed.errors;
  EXPECT_NE(removed.output.find("\n  index.db, "), std::string::npos);
  EXPECT_NE(removed.output.find("\n  theirs is not of velmora and stays\n"), std::string::npos);
  EXPECT_EQ(std::distance(fs::directory_iterator(at), {}), 2) << "theirs and the link";
  EXPECT_EQ(test::content_of(folder_.path() / "victim"), "kept");
  EXPECT_EQ(run({"clean", "--yes"}).exit_code, 1);
  fs::remove_all(at);
  EXPECT_EQ(run({"clean", "--yes"}).exit_code, 1);

  // An index that is damaged can be removed, what is none cannot.
  ASSERT_EQ(run({"index"}).exit_code, 0);
  fs::resize_file(at / "index.db", 20'000);
  EXPECT_EQ(run({"clean", "--yes"}).exit_code, 0);
  EXPECT_FALSE(fs::exists(at));
  const std::string no_index = "is not an index of velmora";
  folder_.write("repo/.velmora/index.db", std::string(5000, 'x'));
  EXPECT_NE(run({"clean", "--yes"}).errors.find(no_index), std::string::npos);
  fs::remove(at / "index.db");
  fs::create_symlink(folder_.path() / "victim", at / "index.db");
  EXPECT_NE(run({"clean", "--yes"}).errors.find(no_index), std::string::npos);
  fs::rename(at, folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", at);
  EXPECT_EQ(run({"clean", "--yes"}).exit_code, 3);
  EXPECT_TRUE(fs::is_symlink(folder_.path() / "elsewhere" / "index.db"));
}

// What a repository that was cloned with its index can say at worst.
TEST_F(Browse, BelievesNoIndexThatCameFromElsewhere) {
  const std::string large = std::to_string(std::numeric_limits<std::int64_t>::max());
  const std::string small = std::to_string(std::numeric_limits<std::int64_t>::min());
  index::connect(fs::path(repo_) / ".velmora" / "index.db", 0)
      .execute("UPDATE meta SET largest_file = " + large + ", written = " + large +
               ", version = char(27) || '[2J';"
               "UPDATE symbols SET start_line = " +
               small + ", end_line = " + large +
               ", fqn = 'a.' || char(27) || ']0;', signature = 'f(' || char(10) || 'x)'");
  fs::copy(repo_, folder_.path() / "clone", fs::copy_options::recursive);
  folder_.write("clone/large.py", std::string(std::size_t{3} << 20, '#'));
  const std::string lines = small + "-" + large;
  for (const std::vector<std::string>& command : {std::vector<std::string>{"show", "Load"},
                                                  {"show", "store.py:8"},
                                                  {"outline"},
                                                  {"status"}}) {
    const auto told = run(command, "../clone");
    EXPECT_EQ(told.exit_code, 0) << told.errors;
    EXPECT_EQ(told.output.find('\33'), std::string::npos) << told.output;
    EXPECT_NE((told.output + told.errors).find("was not made here by you"), std::string::npos);
    EXPECT_EQ(told.output.find(lines) != std::string::npos, command[0] != "status");
  }
  EXPECT_EQ(json::parse(run({"status", "--json"}, "../clone").output)["changes"]["added"].size(),
            0U)
      << "the limit is not theirs to set";
}

}  // namespace
}  // namespace velmora::host::cli
