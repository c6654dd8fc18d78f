#include "cli/completion_branches.h"

#include <algorithm>

namespace velmora::host::cli {
namespace {

std::string offer_value(const OptionFacts& option, const Shell& shell) {
  std::vector<Candidate> choices;
  for (const std::string& choice : option.choices) choices.push_back({choice, ""});
  if (!choices.empty()) return shell.offer(choices);
  switch (option.completion) {
    case Completion::files:
    case Completion::paths:
      return shell.files;
    case Completion::folders:
      return shell.folders;
    case Completion::nothing:
      break;
  }
  return shell.nothing;
}

void add_names(const std::vector<OptionFacts>& options, std::vector<Candidate>& names) {
  for (const OptionFacts& option : options) {
    for (const std::string& name : option.names) {
      const bool is_new = std::none_of(names.begin(), names.end(),
                                       [&](const Candidate& known) { return known.word == name; });
      if (is_new) names.push_back({name, option.description});
    }
  }
}

void add(const CommandFacts& command, const Shell& shell, Branches& branches) {
  const std::string place = command.place();
  const std::vector<std::string> here = {shell.quoted(place)};
  for (const OptionFacts& option : command.options) {
    std::vector<std::string> patterns;
    for (const std::string& name : option.names) {
      patterns.push_back(shell.quoted(place + ":" + name));
    }
    if (option.value.empty()) continue;
    branches.valued.insert(branches.valued.end(), patterns.begin(), patterns.end());
    branches.values += shell.branch(patterns, offer_value(option, shell));
  }
  std::vector<Candidate> names;
  add_names(command.options, names);
  for (const CommandFacts& one : command.commands) {
    if (one.place() == QUESTION_PLACE) add_names(one.options, names);
  }
  branches.options += shell.branch(here, shell.offer(names));
  std::vector<Candidate> below;
  for (const CommandFacts& one : command.commands) {
    below.push_back({one.path.back(), one.description});
    branches.commands.push_back(shell.quoted(one.place()));
  }
  if (!below.empty()) branches.below += shell.branch(here, shell.offer(below));
  if (!command.arguments.empty()) {
    // Which of several it is, is not counted: no command has two.
    branches.arguments += shell.branch(here, offer_value(command.arguments.front(), shell));
  }
  for (const CommandFacts& one : command.commands) add(one, shell, branches);
}

}  // namespace

Branches branches_of(const CommandFacts& program, const Shell& shell) {
  Branches branches;
  add(program, shell, branches);
  for (const OptionFacts& option : program.options) {
    for (const std::string& name : option.names) branches.own.push_back(shell.quoted(":" + name));
  }
  return branches;
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

}  // namespace velmora::host::cli
