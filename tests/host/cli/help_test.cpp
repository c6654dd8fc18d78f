// What the program tells about itself, beyond what shells_test.sh tries in shells.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/command_facts.h"
#include "cli/completions.h"
#include "cli/help_text.h"
#include "cli/man_page.h"
#include "support/process.h"

namespace velmora::host::cli {
namespace {

using test::run_velmora;

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(Help, ExplainsCommandsAndTopics) {
  EXPECT_EQ(run_velmora({"help", "search", "semantic"}).output,
            run_velmora({"search", "semantic", "--help"}).output);
  EXPECT_EQ(run_velmora({"help"}).output, run_velmora({"--help"}).output);
  EXPECT_EQ(run_velmora({"help", "Servers"}).output, run_velmora({"help", "servers"}).output);
  // A topic has the options that --help leaves to it, and the variables that options have.
  EXPECT_FALSE(holds(run_velmora({"explore", "--help"}).output, "--rerank-url URL"));
  EXPECT_TRUE(holds(run_velmora({"help", "servers"}).output, "--rerank-url URL"));
  EXPECT_TRUE(
      holds(run_velmora({"help", "environment"}).output, "--rerank-url of velmora explore"));
  const std::vector<std::pair<std::vector<std::string>, std::string>> wrong = {
      {{"help", "exploer"}, "about exploer. Did you mean: velmora help explore\nCommands: "},
      {{"help", "serverS", "x"}, "To ask about the words: velmora explore help serverS x"},
      {{"help", ""}, "Topics: agents, "},
  };
  for (const auto& [arguments, error] : wrong) {
    const auto result = run_velmora(arguments);
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(holds(result.errors, error)) << result.errors;
  }
}

TEST(Help, GeneratesIntoFoldersThatItMakes) {
  const test::TemporaryFolder folder;
  const std::string into = folder.path() / "a/b";
  EXPECT_EQ(run_velmora({"--generate", "zsh", "--into", into}).exit_code, 0);
  EXPECT_EQ(run_velmora({"--generate", "zsh"}).output.substr(0, 17), "#compdef velmora\n");
  folder.write("file", "");
  EXPECT_EQ(run_velmora({"--generate", "man", "--into", folder.path() / "file"}).exit_code, 3);
  EXPECT_EQ(run_velmora({"--generate", "tcsh"}).exit_code, 2);
  EXPECT_EQ(run_velmora({"--into", into, "status"}).exit_code, 2);
}

// A command line of which nothing but its definition is known.
TEST(Help, ReadsTheDefinitions) {
  CLI::App app("Do it's \"things\"", "velmora");
  bool more = false;
  app.add_flag("--verbose", more, "Say more");
  CLI::App* command = app.add_subcommand("run", "Run [a] `b` $(c): d\\e");
  std::string when = "now", file, hidden;
  command->add_option("-w,--when", when, "When to")
      ->check(CLI::IsMember({"now", "later"}))
      ->capture_default_str()
      ->envname("WHEN");
  command->add_option("--file", file, "-f is short for it")->type_name("FILE")->group("Servers");
  command->add_option("--hidden", hidden)->group("");
  command->add_option("dir", hidden, "Where")->type_name("DIR")->required();
  command->footer(".Examples are none");

  const CommandFacts facts = facts_of(app);
  const CommandFacts& run = facts.commands.at(0);
  EXPECT_EQ(help_text(run),
            "Run [a] `b` $(c): d\\e.\n\n"
            "Usage: velmora run [OPTION]... DIR\n"
            "  DIR  Where\n\n"
            "Options:\n"
            "  -w, --when now|later  When to [default: now] [$WHEN]\n\n"
            "Servers:\n"
            "      --file FILE  -f is short for it\n\n"
            "Everywhere:\n"
            "  -h, --help     Print this help message and exit\n"
            "      --verbose  Say more\n\n"
            ".Examples are none\n");
  const std::string page = man_page(run, facts, "2026-01-02", "velmora 1");
  EXPECT_TRUE(holds(page, "velmora\\-run \\- Run [a] \\(gab\\(ga $(c): d\\ee\n")) << page;
  EXPECT_TRUE(holds(page, "\n\\&.Examples are none\n")) << page;
  EXPECT_TRUE(holds(page, "\\fB\\-w\\fR, \\fB\\-\\-when\\fR \\fInow|later\\fR\n"));
  EXPECT_TRUE(
      holds(bash_completion(facts), "'/run:-w'|'/run:--when') _velmora_words 'now' 'later'"));
  EXPECT_TRUE(holds(zsh_completion(facts), "'run:Run [a] `b` $(c): d\\e'"));
  EXPECT_TRUE(holds(fish_completion(facts), "'run' 'Run [a] `b` $(c): d\\\\e'"));
  EXPECT_FALSE(holds(bash_completion(facts), "hidden"));
}

}  // namespace
}  // namespace velmora::host::cli
