#include "cli/implied_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "browse/near_names.h"

namespace velmora::host::cli {
namespace {

// Of shorter commands too many words are one edit apart: "heap" is no mistyped "help".
constexpr std::size_t SHORTEST_MISTYPED = 5;

bool is_option(std::string_view argument) { return argument.starts_with('-'); }

bool is_command(const CLI::App& app, const std::string& word) {
  const std::vector<const CLI::App*> commands = app.get_subcommands({});
  return std::any_of(commands.begin(), commands.end(),
                     [&](const CLI::App* command) { return command->check_name(word); });
}

// Whether the argument is an option of the program, and how many arguments it takes up.
std::size_t length_of_own_option(const CLI::App& app, const std::string& argument) {
  if (!is_option(argument)) return 0;
  const std::size_t equals = argument.find('=');
  const CLI::Option* const option = app.get_option_no_throw(argument.substr(0, equals));
  if (option == nullptr) return 0;
  const bool takes_next = option->get_items_expected_max() > 0 && equals == std::string::npos;
  return takes_next ? 2 : 1;
}

// The command that `word` is one edit away from. Names of commands are plain ASCII.
std::optional<std::string> almost(const CLI::App& app, const std::string& word) {
  const auto wide = [](const std::string& text) {
    return std::u32string(text.begin(), text.end());
  };
  for (const CLI::App* command : app.get_subcommands({})) {
    const std::string& name = command->get_name();
    const bool lower =
        std::all_of(word.begin(), word.end(), [](char c) { return c >= 'a' && c <= 'z'; });
    if (lower && name.size() >= SHORTEST_MISTYPED && browse::is_one_edit(wide(word), wide(name))) {
      return name;
    }
  }
  return std::nullopt;
}

bool begins_no_question(const std::string& argument) {
  std::error_code unreadable;
  return is_option(argument) || std::filesystem::exists(argument, unreadable);
}

}  // namespace

std::vector<std::string> with_command(const CLI::App& app, std::vector<std::string> arguments) {
  auto first = arguments.begin();
  while (first != arguments.end()) {
    const auto length = static_cast<std::ptrdiff_t>(length_of_own_option(app, *first));
    if (length == 0) break;
    first += std::min(length, arguments.end() - first);
  }
  if (first == arguments.end() || is_command(app, *first)) return arguments;
  const std::optional<std::string> meant = almost(app, *first);
  if (meant && std::all_of(first + 1, arguments.end(), begins_no_question)) {
    throw CLI::ParseError(*first + " is no command. Did you mean: velmora " + *meant +
                              "\nTo ask about the word: velmora explore " + *first,
                          CLI::ExitCodes::InvalidError);
  }
  arguments.insert(first, "explore");
  return arguments;
}

}  // namespace velmora::host::cli
