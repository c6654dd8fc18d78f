#include "cli/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <stdexcept>

#include "cli/output.h"

namespace velmora::host::cli {
namespace {

constexpr std::size_t COMMON_WIDTH = 80;
constexpr std::size_t COMMON_ROWS = 24;
// Nothing is laid out in less: the screen breaks it.
constexpr std::size_t LEAST_WIDTH = 20;

std::string_view value(const Environment& environment, const char* name) {
  const char* const text = environment(name);
  return text == nullptr ? std::string_view() : text;
}

bool draws(bool is_terminal, const Environment& environment) {
  const std::string_view term = value(environment, "TERM");
  return is_terminal && !term.empty() && term != "dumb";
}

std::size_t measured(unsigned short of_terminal, const char* variable, std::size_t common) {
  if (of_terminal > 0) return of_terminal;
  const char* const text = std::getenv(variable);
  const std::string_view digits = text == nullptr ? "" : text;
  std::size_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number > 0 ? number : common;
}

std::string fault_of_format(const std::string& choice) {
  try {
    static_cast<void>(HyperlinkFormat::of(choice));
    return {};
  } catch (const std::invalid_argument& fault) {
    return fault.what();
  }
}

std::string_view code(Ink ink) {
  switch (ink) {
    case Ink::path:
      return "35";
    case Ink::line:
      return "32";
    case Ink::name:
      return "1";
    case Ink::quiet:
      return "2";
    case Ink::notice:
      return "33";
  }
  return "0";
}

}  // namespace

void TerminalOptions::add_to(CLI::App& command) {
  command.add_option("--color", color, "Colour; auto is on a terminal alone")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  command
      .add_option("--hyperlink-format", hyperlink_format,
                  "Links of places: vscode, idea, ... (velmora help terminal)")
      ->type_name("FORMAT")
      ->check(CLI::Validator(fault_of_format, "{" + hyperlink_aliases() + "}"));
}

std::string Look::painted(Ink ink, std::string_view text) const {
  if (!color || text.empty()) return std::string(text);
  return std::string("\033[").append(code(ink)).append("m").append(text).append("\033[0m");
}

std::string Look::place(const std::filesystem::path& root, std::string_view path,
                        std::int64_t line) const {
  const std::string text =
      painted(Ink::path, printable_line(path)) + ":" + painted(Ink::line, std::to_string(line));
  return links && !root.empty() ? linked(text, links->url(root / path, line, 1)) : text;
}

bool wants_color(std::string_view choice, bool is_terminal, const Environment& environment) {
  if (choice != "auto") return choice == "always";
  if (!value(environment, "NO_COLOR").empty()) return false;
  for (const char* const force : {"FORCE_COLOR", "CLICOLOR_FORCE"}) {
    const std::string_view forced = value(environment, force);
    if (!forced.empty() && forced != "0") return true;
  }
  return draws(is_terminal, environment) && value(environment, "CLICOLOR") != "0";
}

Terminal output_terminal(const TerminalOptions& options) {
  const Environment environment = [](const char* name) { return std::getenv(name); };
  winsize size{};
  const bool is_terminal = ::isatty(STDOUT_FILENO) == 1;
  if (is_terminal) static_cast<void>(::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size));
  Terminal terminal{.is_terminal = is_terminal,
                    .takes_escapes = draws(is_terminal, environment) || options.color == "always",
                    .rows = measured(size.ws_row, "LINES", COMMON_ROWS),
                    .look = {.color = wants_color(options.color, is_terminal, environment)}};
  if (is_terminal) {
    terminal.look.width = std::max(measured(size.ws_col, "COLUMNS", COMMON_WIDTH), LEAST_WIDTH);
  }
  if (terminal.takes_escapes) terminal.look.links = HyperlinkFormat::of(options.hyperlink_format);
  return terminal;
}

}  // namespace velmora::host::cli
