#include "indexing/file_beginning.h"

#include <algorithm>
#include <array>
#include <string>

#include "indexing/language_names.h"

namespace velmora::host::indexing {
namespace {

constexpr std::string_view BLANKS = " \t\r";

// Takes the next word off the front of `line`; "" when there is none.
std::string_view take_word(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(BLANKS), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(BLANKS));
  line.remove_prefix(word.size());
  return word;
}

std::string_view file_name(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// The program that "#!/usr/bin/env -S NAME=value python3 -u" names.
std::string_view interpreter(std::string_view beginning) {
  if (!beginning.starts_with("#!")) return {};
  std::string_view line = beginning.substr(2, beginning.find('\n') - 2);
  std::string_view program = file_name(take_word(line));
  if (program != "env") return program;
  do {
    program = take_word(line);
    if (program.starts_with("-S")) program.remove_prefix(2);
  } while (program.starts_with('-') || program.find('=') != std::string_view::npos ||
           (program.empty() && !line.empty()));
  return file_name(program);
}

std::string_view without_blanks(std::string_view beginning) {
  if (beginning.starts_with("\xEF\xBB\xBF")) beginning.remove_prefix(3);
  beginning.remove_prefix(std::min(beginning.find_first_not_of(" \t\r\n"), beginning.size()));
  return beginning;
}

// Assembly and the like have other comments and directives.
bool begins_like_c(std::string_view beginning) {
  if (beginning.starts_with("//") || beginning.starts_with("/*")) return true;
  if (!beginning.starts_with('#')) return false;
  beginning.remove_prefix(1);
  constexpr std::array<std::string_view, 7> DIRECTIVES = {"if",      "ifdef",  "ifndef", "define",
                                                          "include", "import", "pragma"};
  return std::ranges::find(DIRECTIVES, take_word(beginning)) != DIRECTIVES.end();
}

std::string_view included_language(std::string_view beginning) {
  if (beginning.starts_with("<?php") || beginning.starts_with("<?=")) return built_in("php");
  return begins_like_c(beginning) ? built_in("c") : std::string_view();
}

std::string_view language_of_m(std::string_view beginning) {
  return begins_like_c(beginning) || beginning.starts_with('@') ? built_in("objc")
                                                                : std::string_view();
}

bool is_included(std::string_view path) { return path.ends_with(".inc"); }

}  // namespace

bool is_told_by_beginning(std::string_view path) {
  return file_name(path).find('.', 1) == std::string_view::npos || is_included(path) ||
         path.ends_with(".m");
}

std::string_view language_of_beginning(std::string_view path, std::string_view beginning) {
  if (is_included(path)) return included_language(without_blanks(beginning));
  if (path.ends_with(".m")) return language_of_m(without_blanks(beginning));
  return language_of_interpreter(interpreter(beginning));
}

}  // namespace velmora::host::indexing
