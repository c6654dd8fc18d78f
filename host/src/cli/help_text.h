// What --help prints.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "cli/command_facts.h"
#include "cli/help_topics.h"

namespace velmora::host::cli {

// What it is laid out in.
inline constexpr std::size_t HELP_COLUMNS = 100;
inline constexpr std::size_t HELP_ROWS = 50;

// The help of a command. Where it has more rows than a screen, the groups of options that have the
// name of a topic are left to `velmora help TOPIC`, but for their names.
[[nodiscard]] std::string help_text(const CommandFacts& command);

// A topic, with what the commands of `program` have to do with it: the options of its group, and
// for ENVIRONMENT the variables that options have.
[[nodiscard]] std::string topic_text(const HelpTopic& topic, const CommandFacts& program);

// The names of all topics, with commas.
[[nodiscard]] std::string topic_names();

// "velmora explore [OPTION]... [QUESTION...]"; the program itself has two.
[[nodiscard]] std::vector<std::string> usage_lines(const CommandFacts& command);

// "-n, --limit N"
[[nodiscard]] std::string option_title(const OptionFacts& option);

// Options below each other, each with what it does.
[[nodiscard]] std::string options_text(const std::vector<OptionFacts>& options);

// For each variable of the environment that options of `program` have, the options.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> variables_of(
    const CommandFacts& program);

// A text whose long lines are folded, but for those that begin with a space.
[[nodiscard]] std::string folded_text(const std::string& text);

}  // namespace velmora::host::cli
