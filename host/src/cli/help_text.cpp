#include "cli/help_text.h"

#include <algorithm>
#include <limits>
#include <map>
#include <sstream>
#include <string_view>
#include <utility>

#include "cli/help_topics.h"
#include "cli/key_list.h"
#include "text/layout.h"

namespace velmora::host::cli {
namespace {

// What names take at most beside their descriptions; longer ones stand on a line of their own.
constexpr std::size_t MOST_NAMES = 34;
constexpr std::size_t GAP = 2;

using Row = std::pair<std::string, std::string>;  // a name and what it is

std::string table(const std::vector<Row>& rows, std::size_t most = MOST_NAMES) {
  std::size_t width = 0;
  for (const auto& [name, text] : rows) {
    if (name.size() <= most) width = std::max(width, name.size());
  }
  const std::string indent(width + GAP, ' ');
  std::string table;
  for (const auto& [name, text] : rows) {
    std::string left = name;
    if (left.size() > width) {
      table += left + "\n";
      left.clear();
    }
    left.resize(indent.size(), ' ');
    for (const std::string& line : text::folded(text, HELP_COLUMNS - indent.size(),
                                                std::numeric_limits<std::size_t>::max())) {
      table.append(std::exchange(left, indent)).append(line).append("\n");
    }
  }
  return table;
}

std::string title(const OptionFacts& option) {
  const bool is_long = !option.names.empty() && option.names.front().starts_with("--");
  return (is_long ? "      " : "  ") + option_title(option);
}

std::string about(const OptionFacts& option) {
  std::string text = option.description;
  if (!option.fallback.empty()) text += " [default: " + option.fallback + "]";
  if (!option.variable.empty()) text += " [$" + option.variable + "]";
  if (option.required && !option.names.empty()) text += " [required]";
  return text;
}

std::string command_table(const CommandFacts& command) {
  std::vector<Row> rows;
  for (const CommandFacts& below : command.commands) {
    rows.emplace_back("  " + below.path.back(), below.description);
  }
  return table(rows);
}

// "  servers  --embeddings-url, --embeddings-model"
std::string left_to_topics(const CommandFacts& command, const std::vector<std::string>& groups) {
  std::vector<Row> rows;
  for (const std::string& group : groups) {
    std::string names;
    for (const OptionFacts& option : options_in(command, group)) {
      names += (names.empty() ? "" : ", ") + option.names.back();
    }
    rows.emplace_back("  " + std::string(find_topic(group)->name), names);
  }
  return rows.empty() ? "" : "\nMore, explained by velmora help TOPIC:\n" + table(rows);
}

std::string layout(const CommandFacts& command, bool short_of_room) {
  std::string text = command.description + ".\n\n";
  std::string_view before = "Usage: ";
  for (const std::string& usage : usage_lines(command)) {
    text.append(std::exchange(before, "       ")).append(usage).append("\n");
  }
  std::vector<Row> arguments;
  for (const OptionFacts& argument : command.arguments) {
    arguments.emplace_back("  " + argument.shown_value(), about(argument));
  }
  text += table(arguments);
  if (!command.commands.empty()) text += "\nCommands:\n" + command_table(command);
  std::vector<std::string> left;
  std::string everywhere;
  for (const std::string& group : groups_of(command)) {
    if (short_of_room && find_topic(group) != nullptr) {
      left.push_back(group);
      continue;
    }
    const std::string block = "\n" + group + ":\n" + options_text(options_in(command, group));
    (group == EVERYWHERE ? everywhere : text) += block;
  }
  text += left_to_topics(command, left) + everywhere;
  if (!command.footer.empty()) text += "\n" + folded_text(command.footer);
  if (command.path.size() == 1) {
    text += "\n" + folded_text("Topics of velmora help: " + topic_names() + ".");
  }
  return text;
}

// Calls `visit` with a command and all below it.
template <class Visit>
void walk(const CommandFacts& command, Visit visit) {
  visit(command);
  for (const CommandFacts& below : command.commands) walk(below, visit);
}

// The options of a topic, those first that come first in any command. What several commands have
// alike is told once, under the names of all.
using SharedOptions = std::vector<std::pair<std::string, std::vector<OptionFacts>>>;
SharedOptions shared_options(const CommandFacts& program, const HelpTopic& topic) {
  std::vector<std::pair<OptionFacts, std::string>> all;  // each with its commands
  walk(program, [&](const CommandFacts& command) {
    for (const OptionFacts& option : command.options) {
      if (find_topic(option.group) != &topic) continue;
      const auto same = std::find_if(all.begin(), all.end(), [&](const auto& known) {
        return title(known.first) == title(option) && about(known.first) == about(option);
      });
      if (same == all.end()) {
        all.emplace_back(option, command.name());
      } else {
        same->second += ", " + command.name();
      }
    }
  });
  SharedOptions shared;
  for (const auto& one : all) {
    auto block = std::find_if(shared.begin(), shared.end(),
                              [&](const auto& known) { return known.first == one.second; });
    if (block == shared.end()) block = shared.insert(block, {one.second, {}});
    block->second.push_back(one.first);
  }
  return shared;
}

}  // namespace

std::string option_title(const OptionFacts& option) {
  std::string names;
  for (const std::string& name : option.names) names += (names.empty() ? "" : ", ") + name;
  return option.value.empty() ? names : names + " " + option.shown_value();
}

std::string options_text(const std::vector<OptionFacts>& options) {
  std::vector<Row> rows;
  for (const OptionFacts& option : options) rows.emplace_back(title(option), about(option));
  return table(rows);
}

std::vector<std::string> usage_lines(const CommandFacts& command) {
  if (command.path.size() == 1) {
    return {command.name() + " QUESTION...", command.name() + " COMMAND [OPTION]..."};
  }
  std::string usage = command.name() + (command.commands.empty() ? " [OPTION]..." : " COMMAND");
  for (const OptionFacts& option : command.options) {
    if (option.required) usage += " " + option_title(option);
  }
  for (const OptionFacts& argument : command.arguments) {
    const std::string value = argument.shown_value() + (argument.repeated ? "..." : "");
    usage += argument.required ? " " + value : " [" + value + "]";
  }
  return {usage};
}

std::string topic_names() {
  std::string names;
  for (const HelpTopic& topic : help_topics()) {
    names.append(names.empty() ? "" : ", ").append(topic.name);
  }
  return names;
}

std::vector<std::pair<std::string, std::string>> variables_of(const CommandFacts& program) {
  std::map<std::string, std::map<std::string, std::vector<std::string>>> found;
  walk(program, [&](const CommandFacts& command) {
    for (const OptionFacts& option : command.options) {
      if (option.variable.empty()) continue;
      found[option.variable][option.names.back()].push_back(command.name());
    }
  });
  std::vector<Row> variables;
  for (const auto& [variable, options] : found) {
    std::string text;
    for (const auto& [option, commands] : options) {
      text += (text.empty() ? "" : "; ") + option + " of ";
      for (const std::string& name : commands)
        text += (&name == &commands.front() ? "" : ", ") + name;
    }
    variables.emplace_back(variable, text);
  }
  return variables;
}

std::string topic_text(const HelpTopic& topic, const CommandFacts& program) {
  std::string text = std::string(topic.title) + ".\n\n" + folded_text(std::string(topic.text));
  if (topic.name == ENVIRONMENT) {
    std::vector<Row> rows = variables_of(program);
    for (auto& [variable, options] : rows) variable.insert(0, "  ");
    text += "\n" + table(rows);
  }
  if (topic.name == SETTINGS) text += "\n" + key_list();
  for (const auto& [commands, options] : shared_options(program, topic)) {
    text += "\n" + folded_text("Options of " + commands + ":") + options_text(options);
  }
  return text;
}

std::string folded_text(const std::string& text) {
  std::string all;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool stays = line.empty() || line.starts_with(' ') || line.size() <= HELP_COLUMNS;
    const auto parts =
        stays ? std::vector{line}
              : text::folded(line, HELP_COLUMNS, std::numeric_limits<std::size_t>::max());
    for (const std::string& part : parts) all += part + "\n";
  }
  return all;
}

std::string help_text(const CommandFacts& command) {
  std::string text = layout(command, false);
  const auto rows = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  return rows <= HELP_ROWS ? text : layout(command, true);
}

}  // namespace velmora::host::cli
