// Folders of an index that came with a repository.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "support/process.h"
#include "support/temporary_folder.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;
using test::run_velmora;
using test::TemporaryFolder;

TEST(HostileFolder, LeadsNowhere) {
  const TemporaryFolder folder;
  const fs::path victim = folder.write("victim", "kept"), missing = folder.path() / "missing";
  const fs::path repo = folder.path() / "repo", at = repo / ".velmora";
  folder.write("repo/a.py", "def f(): pass");
  folder.write("elsewhere/kept", "");
  const auto link = [&](const fs::path& to) {
    return [to](const fs::path& place) { fs::create_symlink(to, place); };
  };
  const auto second_name = [&](const fs::path& place) { fs::create_hard_link(victim, place); };
  const auto pipe = [](const fs::path& place) { ::mkfifo(place.c_str(), 0600); };
  const auto make_folder = [](const fs::path& place) { fs::create_directory(place); };
  const std::vector<std::pair<std::string, std::function<void(const fs::path&)>>> traps = {
      {"", link(folder.path() / "elsewhere")},
      {"", link(missing)},
      {"", pipe},
      {"lock", link(victim)},
      {"lock", second_name},
      {"lock", pipe},
      {".gitignore", link(missing)},
      {".gitignore", make_folder},
      {"index.db", link(victim)},
      {"index.db", link(missing)},
      {"index.db", second_name},
      {"index.db", pipe},
      {"index.db-shm", link(victim)},
      {"index.db-shm", pipe},
      {"tuned.model", link(victim)},
      {"tuned.model", pipe},
      {"tuned.model.made", pipe},
  };
  for (const auto& [name, set] : traps) {
    fs::remove_all(at);
    if (!name.empty()) fs::create_directory(at);
    const fs::path trap = name.empty() ? at : at / name;
    if (name == "index.db-shm") fs::copy_file(victim, at / "index.db");
    if (name == "tuned.model.made") fs::copy_file(victim, at / "tuned.model");
    set(trap);
    const auto result = run_velmora({"index", repo});
    EXPECT_EQ(result.exit_code, 3) << trap;
    EXPECT_EQ(result.errors.find("velmora: " + trap.string() + " "), 0U) << result.errors;
    EXPECT_NE(result.errors.find(". Remove it and try again\n"), std::string::npos);
    if (name.starts_with("index.db")) {
      EXPECT_EQ(run_velmora({"explore", "--repo", repo, "f"}).errors, result.errors);
    }
    std::ifstream kept(victim);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "kept");
    EXPECT_FALSE(fs::exists(missing));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path() / "elsewhere"), {}), 1);
  }
}

TEST(HostileFolder, IndexOfAnotherTreeIsMadeAnew) {
  const TemporaryFolder folder;
  const std::string theirs = folder.path() / "theirs", mine = folder.path() / "mine";
  folder.write("theirs/a.py", "def theirs(): passed");
  EXPECT_EQ(run_velmora({"index", theirs}).exit_code, 0);
  fs::copy(theirs, mine, fs::copy_options::recursive);
  // Of the same size and time, so that what the index knows of the file looks right.
  const auto time = fs::last_write_time(fs::path(theirs) / "a.py");
  folder.write("mine/a.py", "def own_code(): pass");
  fs::last_write_time(fs::path(mine) / "a.py", time);
  const auto ask = [&](const std::string& name) {
    return run_velmora({"explore", "--repo", mine, "--no-embeddings", name});
  };
  EXPECT_EQ(ask("theirs").exit_code, 0);
  EXPECT_NE(ask("theirs").errors.find("was not made here by you"), std::string::npos);
  EXPECT_EQ(run_velmora({"embed", mine, "--embeddings-url", "http://127.0.0.1:1",
                         "--embeddings-model", "m"})
                .errors,
            "velmora: The index at " + mine +
                "/.velmora/index.db was not made here by you. Make it"
                " anew with: velmora index " +
                mine + "\n");
  const auto result = run_velmora({"index", mine});
  EXPECT_NE(result.errors.find("was not made here by you. It is made anew\n"), std::string::npos);
  EXPECT_NE(result.output.find(": 1 added, "), std::string::npos) << result.output;
  EXPECT_EQ(ask("theirs").exit_code, 1);
  EXPECT_EQ(ask("own_code").errors, "");
  EXPECT_NE(run_velmora({"index", mine, "--rebuild"}).output.find(": 1 added, "),
            std::string::npos);
}

}  // namespace
}  // namespace velmora::host::cli
