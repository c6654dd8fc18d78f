#include "settings/settings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "indexing/git_program.h"
#include "indexing/path_rules.h"
#include "support/http_server.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "upkeep/kept_index.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::settings {
namespace {

namespace fs = std::filesystem;
using indexing::list_files;
using indexing::list_folders;
using nlohmann::json;
using test::Finished;
using test::TemporaryFolder;

using Names = std::vector<std::string>;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A user with a home of their own and a repository.
class Program : public ::testing::Test {
 protected:
  Finished run(Names arguments, const Names& variables = {}) const {
    Names all = {"-i", "HOME=" + home.path().string()};
    all.insert(all.end(), variables.begin(), variables.end());
    all.emplace_back(VELMORA_PROGRAM);
    all.insert(all.end(), arguments.begin(), arguments.end());
    return test::run_velmora(all, "", root, "/usr/bin/env");
  }

  void write_user(const std::string& text) const {
    home.write(".config/velmora/config.toml", text);
  }
  void write_repository(const std::string& text) const { folder.write(".velmora.toml", text); }

  json config(const Names& variables = {}) const {
    const Finished done = run({"config", "--json"}, variables);
    EXPECT_EQ(done.exit_code, 0) << done.errors;
    return json::parse(done.output, nullptr, false);
  }

  const TemporaryFolder home, folder;
  const fs::path root = fs::canonical(folder.path());
};

TEST_F(Program, TakesTheStrongestAndSaysWhereItIsFrom) {
  const std::string user_file = (home.path() / ".config/velmora/config.toml").string();
  const auto limit = [](const json& all) { return all["index.max_file_size"]; };
  EXPECT_EQ(limit(config()), json({{"value", 2'097'152}, {"from", "default"}}));
  write_user("\nindex.max_file_size = 5\nranking.weights.name = 0.5\nmodel = 'm'\n");
  EXPECT_EQ(limit(config()),
            json({{"value", 5}, {"from", "user"}, {"file", user_file}, {"line", 2}}));
  write_repository("[index]\nmax_file_size = 6");
  EXPECT_EQ(limit(config()), json({{"value", 6},
                                   {"from", "repository"},
                                   {"file", (root / ".velmora.toml").string()},
                                   {"line", 2}}));
  const Names variables = {"VELMORA_INDEX_MAX_FILE_SIZE=7", "VELMORA_LANGUAGES=*.x=c:*.y=php",
                           "VELMORA_INDEX_LEAVE_OUT=a b:c/", "VELMORA_RERANK_API_KEY=hidden",
                           "VELMORA_MODEL="};
  const json all = config(variables);
  EXPECT_EQ(
      limit(all),
      json({{"value", 7}, {"from", "environment"}, {"variable", "VELMORA_INDEX_MAX_FILE_SIZE"}}));
  EXPECT_EQ(all["languages"]["value"], json({{"*.x", "c"}, {"*.y", "php"}}));
  EXPECT_EQ(all["index.leave_out"]["value"], json({"a b", "c/"}));
  EXPECT_EQ(all["ranking.weights.name"]["value"], 0.5);
  EXPECT_EQ(all["model"]["from"], "user");  // an empty variable says nothing
  EXPECT_EQ(all["rerank.api_key"]["from"], "environment");
  EXPECT_FALSE(has(all.dump(), "hidden"));
  // The other folder for a user's settings.
  home.write("else/velmora/config.toml", "model = 'other'");
  EXPECT_EQ(config({"XDG_CONFIG_HOME=" + (home.path() / "else").string()})["model"]["value"],
            "other");

  const std::string text = run({"config"}, variables).output;
  EXPECT_TRUE(has(text, "\nindex.max_file_size = 7    ")) << text;
  EXPECT_TRUE(has(text, "  # VELMORA_INDEX_MAX_FILE_SIZE\n"));
  EXPECT_TRUE(has(text, "model = \"m\"    ") && has(text, "  # " + user_file + ":4\n"));
  EXPECT_TRUE(has(text, "# embeddings.url    ") && has(text, "(set)") && !has(text, "hidden"));

  // What velmora index was told for once holds for the index until it is told again.
  folder.write("a.py", "def f(): pass\n");
  EXPECT_EQ(run({"index", "--no-embeddings", "--max-file-size", "100"}).exit_code, 0);
  EXPECT_EQ(limit(config(variables)), json({{"value", 100}, {"from", "command line"}}));
  EXPECT_EQ(run({"show", "f"}).exit_code, 0);
  EXPECT_TRUE(has(run({"index", "--no-embeddings"}).output, "Skipped 1 (1: it is larger than 6 "));
  EXPECT_EQ(limit(config())["value"], 6);
}

TEST_F(Program, GivesOptionsWhatTheCommandLineDoesNotSay) {
  folder.write("a.py", "def alpha(): pass\ndef alpha_two(): pass\ndef alpha_three(): pass\n");
  const auto hits = [&](Names more, const Names& variables = {}) {
    more.insert(more.begin(), {"explore", "alpha", "--no-embeddings", "--jsonl"});
    const Finished done = run(more, variables);
    EXPECT_EQ(done.exit_code, 0) << done.errors;
    return std::ranges::count(done.output, '\n');
  };
  EXPECT_EQ(hits({}), 3);
  write_user("explore.limit = 2\n");
  EXPECT_EQ(hits({}), 2);
  EXPECT_EQ(hits({}, {"VELMORA_EXPLORE_LIMIT=1"}), 1);
  EXPECT_EQ(hits({"--limit", "3"}, {"VELMORA_EXPLORE_LIMIT=1"}), 3);

  write_user("terminal.color = 'always'\n");
  EXPECT_TRUE(has(run({"explore", "alpha", "--no-embeddings"}).output, "\x1b["));
  EXPECT_FALSE(
      has(run({"explore", "alpha", "--no-embeddings", "--color", "never"}).output, "\x1b"));

  // A server for every question, with a model named for one alone.
  test::HttpServer server([](const std::string&) { return test::HttpServer::response("", "500"); });
  write_user("rerank = {url = '" + server.url() + "', share_source = true}\n");
  const Names asked = {"explore", "alpha", "--no-embeddings", "--rerank-model", "m"};
  EXPECT_EQ(run(asked).exit_code, 0);
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_TRUE(has(server.requests()[0], "alpha_two()"));  // its signature
  EXPECT_TRUE(has(run({"explore", "alpha"}).errors,
                  "the rerank server " + server.url() + " needs a model: --rerank-model NAME"));
}

TEST_F(Program, RefusesWhatIsWrongBeforeAnythingIsDone) {
  folder.write("a.py", "def alpha(): pass\n");
  const auto expect = [&](const Names& arguments, const Names& variables,
                          const std::string& error) {
    const Finished done = run(arguments, variables);
    EXPECT_EQ(done.exit_code, 3);
    EXPECT_EQ(done.output, "");
    EXPECT_EQ(done.errors.substr(0, error.size() + 9), "velmora: " + error);
    EXPECT_FALSE(fs::exists(root / ".velmora"));
  };
  const std::string unknown =
      (root / ".velmora.toml").string() +
      ":1: there is no setting index.leave_uot. Did you mean index.leave_out";
  write_repository("index.leave_uot = []");
  for (const Names& arguments : {Names{"index"}, {"alpha"}, {"config"}, {"show", "alpha"}}) {
    expect(arguments, {}, unknown);
  }
  write_repository("");
  expect({"alpha"}, {"VELMORA_EXPLORE_LIMIT=ten"},
         "The variable VELMORA_EXPLORE_LIMIT must be a whole number from 1 to 2147483647");
  expect({"index"}, {"VELMORA_LANGUAGES=php"},
         "The variable VELMORA_LANGUAGES must be GLOB=LANGUAGE, colons between several");
  write_user("\nterminal.hyperlink_format = 'emax'");
  expect(
      {"alpha"}, {},
      (home.path() / ".config/velmora/config.toml").string() +
          ":2: terminal.hyperlink_format: --hyperlink-format: \"emax\" is neither a format with");
  EXPECT_EQ(run({"--help"}).exit_code, 0);
  EXPECT_EQ(run({"status", "--help"}).exit_code, 0);
}

// The table says of defaults what the code does where nothing is set.
TEST_F(Program, TellsTheDefaultsThatHold) {
  EXPECT_EQ(source_rules({}), indexing::SourceRules());
  EXPECT_EQ(retrieval_settings({}), standard_retrieval_settings());
  const std::string help = run({"help", "settings"}).output;
  for (const Key& key : all_keys()) {
    EXPECT_TRUE(has(help, "  " + std::string(key.name) + " ")) << key.name;
    if (key.command.empty() || key.standard.empty() || key.files == Files::both) continue;
    EXPECT_TRUE(has(run({std::string(key.command), "--help"}).output,
                    "[default: " + std::string(key.standard) + "] [$" + variable_of(key) + "]"));
  }
}

TEST_F(Program, IndexesWhatTheRepositorySays) {
  folder.write("kept.py", "def kept(): pass\n");
  folder.write("third_party/deep/a.py", "def theirs(): pass\n");
  folder.write("page.block", "<?php function page() {}\n");
  folder.write("odd.h", "int f(void);\n");
  const auto outline = [&] {
    std::string names;
    const Finished done = run({"outline", "--json", "."});
    const json found = json::parse(done.output);
    for (const json& symbol : found["symbols"]) {
      names +=
          symbol["name"].get<std::string>() + " " + symbol["language"].get<std::string>() + " ";
    }
    return names;
  };
  EXPECT_EQ(outline(), "kept python f c theirs python ");
  write_repository(
      "index.leave_out = ['third_party/']\n[languages]\n'*.block' = 'php'\n'*.h' = 'cpp'");
  EXPECT_EQ(json::parse(run({"status", "--json"}).output)["changes"],
            json({{"added", {"page.block"}},
                  {"changed", {"odd.h"}},
                  {"removed", {"third_party/deep/a.py"}}}));
  EXPECT_EQ(outline(), "kept python f cpp page php ");
  // Found first by three channels: 3 / (k + 1).
  const auto score = [&] {
    const Finished done = run({"explore", "kept", "--no-embeddings", "--json"});
    return json::parse(done.output)["hits"][0]["score"].get<double>();
  };
  EXPECT_DOUBLE_EQ(score(), 3.0 / 9);
  write_repository("[ranking]\nrrf_k = 2\ndepth = 1\n");
  EXPECT_DOUBLE_EQ(score(), 3.0 / 3);
  EXPECT_EQ(outline(), "kept python f c theirs python ");
  EXPECT_EQ(retrieval_settings(root).depth, 1);
}

TEST_F(Program, IsFollowedByWhoeverKeepsAnIndex) {
  folder.write("a.py", "def f(): pass\n");
  folder.write("b.py", "def g(): pass\n");
  upkeep::KeptIndex kept(root);
  const auto files = [&] {
    const upkeep::KeptState state = kept.wait(std::chrono::minutes(1));
    if (!state.note.empty()) return state.note;
    std::string names;
    for (const auto& [path, file] : state.index->tree_state().files) names += path + " ";
    return names;
  };
  EXPECT_EQ(files(), "a.py b.py ");
  write_repository("index.leave_out = ['b.*']");
  EXPECT_EQ(files(), "a.py ");
  write_repository("index.leave_out = 3");
  EXPECT_TRUE(has(files(), ".velmora.toml:1: index.leave_out must be a list of globs"));
  write_repository("");
  EXPECT_EQ(files(), "a.py b.py ");
}

TEST(LeftOut, IsNotThereWhetherGitTracksItOrNot) {
  const TemporaryFolder folder;
  for (const char* name :
       {"a.py", "lib/b.py", "lib/keep/c.py", "lib.py", "x/lib/d.py", "x/e.min.py"}) {
    folder.write(name, "");
  }
  const auto files = [&](const Names& globs) {
    return list_files(folder.path(), indexing::ANY_NUMBER_OF_FILES, globs).files;
  };
  for (const bool tracked : {false, true}) {
    SCOPED_TRACE(tracked);
    EXPECT_EQ(files({"lib/"}), (Names{"a.py", "lib.py", "x/e.min.py"}));
    EXPECT_EQ(files({"/lib/"}), (Names{"a.py", "lib.py", "x/e.min.py", "x/lib/d.py"}));
    EXPECT_EQ(files({"/lib/*", "!/lib/keep", "*.min.*"}),
              (Names{"a.py", "lib.py", "lib/keep/c.py", "x/lib/d.py"}));
    EXPECT_EQ(files({"*"}), Names());
    EXPECT_EQ(list_folders(folder.path(), {"lib"}), (Names{"", "x"}));
    if (tracked) break;
    indexing::run_git(folder.path(), {"init", "-q"}, [](std::string_view) {});
    indexing::run_git(folder.path(), {"add", "."}, [](std::string_view) {});
    folder.write(".git/info/exclude", "*.py\n");
    folder.write("lib/.gitignore", "!*\n");
  }
  // Globs that take too long are given up.
  std::string glob;
  while (glob.size() < 1000) glob += "*a";
  indexing::LeftOut left_out(Names(60, glob + "b"), 3'000'000);
  const std::string path(4000, 'a');
  EXPECT_THROW(while (true) static_cast<void>(left_out.matches(path, false)), std::runtime_error);
}

}  // namespace
}  // namespace velmora::host::settings
