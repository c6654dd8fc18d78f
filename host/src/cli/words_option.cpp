#include "cli/words_option.h"

#include <CLI/CLI.hpp>

namespace velmora::host::cli {

CLI::Option* add_words(CLI::App& command, const std::string& name, std::optional<std::string>& text,
                       const std::string& description) {
  const auto join = [&text](const CLI::results_t& words) {
    text = CLI::detail::join(words, " ");
    return true;
  };
  // The parser takes a list's "[a,b]" and "{}" apart. A positional that still waits for words is no
  // list to it, and none is missed where all that came are taken.
  return command.add_option(name, join, description)
      ->expected(CLI::detail::expected_max_vector_size, CLI::detail::expected_max_vector_size)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

}  // namespace velmora::host::cli
