#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "browse/near_names.h"
#include "cli/command_facts.h"
#include "cli/help_text.h"
#include "cli/help_topics.h"
#include "cli/option_settings.h"
#include "cli/output.h"
#include "cli/pager.h"
#include "cli/terminal.h"
#include "velmora/host/cli/commands.h"

namespace velmora::host::cli {
namespace {

// What there is help about, at the top.
std::vector<std::string> subjects(const CommandFacts& program) {
  std::vector<std::string> names;
  for (const CommandFacts& command : program.commands) names.push_back(command.path.back());
  for (const HelpTopic& topic : help_topics()) names.emplace_back(topic.name);
  return names;
}

std::string nothing_text(const std::vector<std::string>& words, const CommandFacts& program) {
  const std::string asked = CLI::detail::join(words, " ");
  std::string text = "There is no help about " + asked;
  browse::NearNames near(words.front());
  for (const std::string& name : subjects(program)) near.add(name);
  if (const std::vector<std::string> names = near.names(); !names.empty()) {
    text += ". Did you mean: velmora help " + names.front();
  }
  text += "\nCommands: ";
  for (const CommandFacts& command : program.commands) {
    text += (&command == &program.commands.front() ? "" : ", ") + command.path.back();
  }
  return text + "\nTopics: " + topic_names();
}

// The text about a command, named by its words, or about a topic.
std::optional<std::string> text_about(const std::vector<std::string>& words,
                                      const CommandFacts& program) {
  if (words.size() == 1) {
    const HelpTopic* const topic = find_topic(words.front());
    if (topic != nullptr) return topic_text(*topic, program);
  }
  const CommandFacts* command = &program;
  for (const std::string& word : words) {
    const auto next =
        std::find_if(command->commands.begin(), command->commands.end(),
                     [&](const CommandFacts& one) { return one.path.back() == word; });
    if (next == command->commands.end()) return std::nullopt;
    command = &*next;
  }
  return help_text(*command);
}

void show_help(const std::vector<std::string>& words, const CLI::App& app) {
  const CommandFacts program = facts_of(app);
  const std::optional<std::string> text = text_about(words, program);
  if (!text) throw CLI::ValidationError(nothing_text(words, program));
  show_paged(*text, output_terminal({}));
}

}  // namespace

void add_help_command(CLI::App& app, ExitCode& exit_code) {
  CLI::App* command = app.add_subcommand("help", "Explain a command or a topic");
  const auto words = std::make_shared<std::vector<std::string>>();
  CLI::Option* about =
      command->add_option("topic", *words, "A command or one of the topics below; all when absent");
  about->type_name("COMMAND|TOPIC");
  suggest(*about, subjects(facts_of(app)));
  std::string topics;
  for (const HelpTopic& topic : help_topics()) {
    std::string name = "  " + std::string(topic.name);
    name.resize(15, ' ');
    topics.append(name).append(topic.title).append("\n");
  }
  command->footer("Topics:\n" + topics +
                  "\nExamples:\n"
                  "  velmora help explore\n"
                  "  velmora help search semantic\n"
                  "  velmora help output\n");
  command->callback([words, &app, &exit_code] {
    name_variables(app);
    show_help(*words, app);
    exit_code = ExitCode::answered;
  });
}

}  // namespace velmora::host::cli
