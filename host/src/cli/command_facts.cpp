#include "cli/command_facts.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

namespace velmora::host::cli {
namespace {

constexpr std::size_t SHORT_CHOICES = 20;

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

Completion completion_of(std::string_view value) {
  if (holds(value, "PATH")) return Completion::paths;
  if (holds(value, "DIR")) return Completion::folders;
  return holds(value, "FILE") ? Completion::files : Completion::nothing;
}

std::vector<std::string> split(std::string_view list) {
  std::vector<std::string> parts;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    if (comma > 0) parts.emplace_back(list.substr(0, comma));
    list.remove_prefix(comma);
    list.remove_prefix(std::min(list.find_first_not_of(", "), list.size()));
  }
  return parts;
}

// The parser gives the name of a value and the descriptions of its checks as one:
// "WHEN:{auto,always}".
void read_value(OptionFacts& facts, const std::string& type) {
  const std::size_t set = type.ends_with('}') ? type.rfind(":{") : std::string::npos;
  facts.value = type.substr(0, set);
  if (set != std::string::npos) {
    facts.choices = split(std::string_view(type).substr(set + 2, type.size() - set - 3));
  }
  if (facts.value.empty()) facts.value = "VALUE";
  facts.completion = completion_of(facts.value);
}

OptionFacts facts_of(const CLI::Option& option) {
  OptionFacts facts{.description = option.get_description(),
                    .fallback = option.get_default_str(),
                    .variable = option.get_envname(),
                    .group = option.get_group(),
                    .required = option.get_required()};
  for (const std::string& name : option.get_snames()) facts.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) facts.names.push_back("--" + name);
  if (option.get_items_expected_max() > 0) {
    facts.repeated = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
    read_value(facts, option.get_type_name());
  }
  for (const CLI::Option* other : option.get_excludes()) {
    for (const std::string& name : other->get_snames()) facts.excluded.push_back("-" + name);
    for (const std::string& name : other->get_lnames()) facts.excluded.push_back("--" + name);
  }
  std::sort(facts.excluded.begin(), facts.excluded.end());  // the parser has them by address
  return facts;
}

const CLI::Option* help_of(const CLI::App& command) { return command.get_help_ptr(); }

// Options stand behind the commands below theirs too, where they have no group of their own.
bool is_everywhere(const CLI::App& owner, const CLI::Option& option) {
  return &option == help_of(owner) ||
         (owner.get_parent() == nullptr && option.get_group() == "Options");
}

bool is_shown(const CLI::Option& option) {
  return !option.get_group().empty() && option.nonpositional();
}

void add_options(CommandFacts& facts, const CLI::App& command) {
  std::vector<OptionFacts> everywhere;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) facts.arguments.push_back(facts_of(*option));
    if (!is_shown(*option)) continue;
    if (is_everywhere(command, *option)) {
      everywhere.push_back(facts_of(*option));
    } else {
      facts.options.push_back(facts_of(*option));
    }
  }
  for (const CLI::App* above = command.get_parent(); above != nullptr;
       above = above->get_parent()) {
    for (const CLI::Option* option : above->get_options()) {
      const bool falls_through = is_everywhere(*above, *option) && option != help_of(*above) &&
                                 option->get_lnames() != std::vector<std::string>{"version"};
      if (is_shown(*option) && falls_through) everywhere.push_back(facts_of(*option));
    }
  }
  for (OptionFacts& one : everywhere) {
    one.group = EVERYWHERE;
    facts.options.push_back(std::move(one));
  }
}

}  // namespace

std::string OptionFacts::shown_value() const {
  const std::string joined = CLI::detail::join(choices, "|");
  return choices.empty() || joined.size() > SHORT_CHOICES ? value : joined;
}

std::string CommandFacts::name(const std::string& separator) const {
  return CLI::detail::join(path, separator);
}

std::string CommandFacts::place() const { return name("/").substr(path.front().size()); }

CommandFacts facts_of(const CLI::App& command) {
  CommandFacts facts{.path = {command.get_name()},
                     .description = command.get_description(),
                     .footer = command.get_footer()};
  for (const CLI::App* above = command.get_parent(); above != nullptr;
       above = above->get_parent()) {
    facts.path.insert(facts.path.begin(), above->get_name());
  }
  add_options(facts, command);
  const auto is_visible = [](const CLI::App* one) {
    return !one->get_name().empty() && !one->get_group().empty() && !one->get_disabled();
  };
  for (const CLI::App* below : command.get_subcommands(is_visible)) {
    facts.commands.push_back(facts_of(*below));
  }
  return facts;
}

void suggest(CLI::Option& option, const std::vector<std::string>& values) {
  const auto accept = [](const std::string&) { return std::string(); };
  option.check(CLI::Validator(accept, "{" + CLI::detail::join(values, ",") + "}"));
}

std::vector<OptionFacts> options_in(const CommandFacts& command, const std::string& group) {
  std::vector<OptionFacts> options;
  std::copy_if(command.options.begin(), command.options.end(), std::back_inserter(options),
               [&](const OptionFacts& option) { return option.group == group; });
  return options;
}

std::vector<std::string> groups_of(const CommandFacts& command) {
  std::vector<std::string> groups;
  for (const OptionFacts& option : command.options) {
    if (std::find(groups.begin(), groups.end(), option.group) == groups.end()) {
      groups.push_back(option.group);
    }
  }
  return groups;
}

std::vector<TextPart> parts_of(const std::string& text) {
  std::vector<TextPart> parts;
  bool apart = true;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool is_verbatim = line.starts_with(' ');
    const bool begins =
        apart || is_verbatim != parts.back().is_verbatim || line.starts_with("Exit status:");
    apart = line.empty();
    if (apart) continue;
    if (begins) {
      parts.push_back({is_verbatim, line});
    } else {
      parts.back().text += "\n" + line;
    }
  }
  return parts;
}

}  // namespace velmora::host::cli
