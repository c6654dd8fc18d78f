// What help, man pages and completions tell of the program's commands. All of it is read from the
// definitions that the command line is parsed by, so that a new command or option needs nothing
// more:
//
// - the name of an option's value tells what completes it: with FILE in it files, with DIR folders,
//   with PATH both;
// - a check that is described as a set, as that of CLI::IsMember is by itself, tells its values;
// - a description is one sentence without its full stop; a footer has lines, of which those that
//   begin with a space stay as they are, "Examples:" and "Exit status: ..." among the others.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace velmora::host::cli {

enum class Completion { nothing, files, folders, paths };

struct OptionFacts {
  std::vector<std::string> names = {};  // "-n", "--limit"; none of an argument without a name
  std::string value = {};               // the name of its value; empty: it takes none
  std::vector<std::string> choices = {};
  Completion completion = Completion::nothing;
  std::string description = {};
  std::string fallback = {};  // the value when it is absent
  std::string variable = {};  // of the environment
  std::string group = {};
  std::vector<std::string> excluded = {};  // names of options that it cannot stand with
  bool required = false;
  bool repeated = false;

  // The name of its value, or its choices where those are short: "auto|always|never".
  [[nodiscard]] std::string shown_value() const;
};

// The group of the options that every command takes.
inline constexpr const char* EVERYWHERE = "Everywhere";

struct CommandFacts {
  std::vector<std::string> path = {};  // "velmora", "search", "semantic"
  std::string description = {};
  std::string footer = {};
  std::vector<OptionFacts> arguments = {};
  std::vector<OptionFacts> options = {};  // group by group, those of EVERYWHERE last
  std::vector<CommandFacts> commands = {};

  // "velmora search semantic"
  [[nodiscard]] std::string name(const std::string& separator = " ") const;
  // "/search/semantic"; empty for the program itself.
  [[nodiscard]] std::string place() const;
};

// Those of a command and all below it. Hidden options and commands are left out.
[[nodiscard]] CommandFacts facts_of(const CLI::App& command);

// What may be said for an option, beside anything else.
void suggest(CLI::Option& option, const std::vector<std::string>& values);

// The options of a command that are in a group, in their order, and the groups in theirs.
[[nodiscard]] std::vector<OptionFacts> options_in(const CommandFacts& command,
                                                  const std::string& group);
[[nodiscard]] std::vector<std::string> groups_of(const CommandFacts& command);

// A footer or a topic in parts: lines that stay as they are, or a paragraph.
struct TextPart {
  bool is_verbatim = false;
  std::string text = {};  // lines without the last one's end
};
[[nodiscard]] std::vector<TextPart> parts_of(const std::string& text);

}  // namespace velmora::host::cli
