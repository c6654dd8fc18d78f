// What standard output can show, and what the user wants of it.
//
// Colour, first that applies: --color always or never, or the same in the user's settings; NO_COLOR
// (not empty): none; FORCE_COLOR or CLICOLOR_FORCE (not empty; 0 does not count): yes; then only on
// a terminal whose TERM is set and not "dumb", unless CLICOLOR is 0. What the user says for one
// call is the strongest; among the variables, the wish for less is.
//
// Links stand where escape sequences may: on such a terminal, or with --color always.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "cli/hyperlink.h"

namespace CLI {
class App;
}

namespace velmora::host::cli {

struct TerminalOptions {
  std::string color = "auto";
  std::string hyperlink_format = "none";

  // Adds --color and --hyperlink-format to a command; they outlive the parse.
  void add_to(CLI::App& command);
};

// What stands in a text, for its colour.
enum class Ink { path, line, name, quiet, notice };

// How a text for people is written.
struct Look {
  bool color = false;
  std::size_t width = 0;  // of a line, in columns; 0: as long as they are
  std::optional<HyperlinkFormat> links = {};

  // A text that may be shown, in its colour.
  [[nodiscard]] std::string painted(Ink ink, std::string_view text) const;

  // PATH:LINE, for the file at `path` below `root`: in colour, and a link when there are links and
  // `root` is not empty.
  [[nodiscard]] std::string place(const std::filesystem::path& root, std::string_view path,
                                  std::int64_t line) const;
};

struct Terminal {
  bool is_terminal = false;
  bool takes_escapes = false;
  std::size_t rows = 0;
  Look look;
};

// The value of a variable of the environment, null when it is not set.
using Environment = std::function<const char*(const char* name)>;

// Whether to write colour when `choice` is what --color says.
[[nodiscard]] bool wants_color(std::string_view choice, bool is_terminal,
                               const Environment& environment);

// Standard output. Its width is the terminal's, or COLUMNS where that does not tell, or 80.
[[nodiscard]] Terminal output_terminal(const TerminalOptions& options);

}  // namespace velmora::host::cli
