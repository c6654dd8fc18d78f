#include "indexing/doc_comment.h"

#include <algorithm>
#include <array>
#include <vector>

namespace velmora::host::indexing {
namespace {

constexpr std::string_view BLANKS = " \t\r\f\v";

std::vector<std::string_view> split_lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (true) {
    const std::size_t stop = text.find('\n');
    lines.push_back(text.substr(0, stop));
    if (stop == std::string_view::npos) return lines;
    text.remove_prefix(stop + 1);
  }
}

std::size_t indentation(std::string_view line) {
  return std::min(line.find_first_not_of(BLANKS), line.size());
}

// A line of at least three characters that draws something: "-----", "*=*=*".
bool is_rule(std::string_view line) {
  line.remove_prefix(indentation(line));
  line = line.substr(0, line.find_last_not_of(BLANKS) + 1);
  return line.size() >= 3 && line.find_first_not_of("-=*#~_/+ ") == std::string_view::npos;
}

// Joins the lines without common indentation and without blank lines at the ends. The first line
// does not count for the indentation when `first_stands_apart`.
std::string join(std::vector<std::string_view> lines, bool first_stands_apart) {
  std::size_t common = std::string_view::npos;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string_view& line = lines[i];
    line = line.substr(0, line.find_last_not_of(BLANKS) + 1);
    if (i == 0 && first_stands_apart) {
      line.remove_prefix(indentation(line));
    } else if (!line.empty()) {
      common = std::min(common, indentation(line));
    }
  }
  std::string text;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool apart = i == 0 && first_stands_apart;
    if (i > 0) text += '\n';
    text += apart || lines[i].empty() ? lines[i] : lines[i].substr(common);
  }
  const std::size_t first = text.find_first_not_of('\n');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of('\n') + 1 - first);
}

std::string block_text(std::string_view comment) {
  comment.remove_prefix(2);
  if (comment.ends_with("*/")) comment.remove_suffix(2);
  // Both ends may be drawn out, "/*****", and the opening may name a documentation tool, "/*!".
  while (comment.ends_with('*')) comment.remove_suffix(1);
  comment.remove_prefix(std::min(comment.find_first_not_of('*'), comment.size()));
  if (comment.starts_with('!')) comment.remove_prefix(1);

  std::vector<std::string_view> lines = split_lines(comment);
  const bool starred = std::all_of(lines.begin() + 1, lines.end(), [](std::string_view line) {
    line.remove_prefix(indentation(line));
    return line.empty() || line.starts_with('*');
  });
  for (std::size_t i = 1; starred && i < lines.size(); ++i) {
    const std::size_t star = lines[i].find('*');
    if (star != std::string_view::npos) lines[i].remove_prefix(star + 1);
  }
  std::erase_if(lines, is_rule);
  return join(std::move(lines), true);
}

// "--[==[ text ]==]", and what stands between the lines "=begin" and "=end".
std::string bracketed_text(std::string_view comment) {
  if (comment.starts_with("=begin")) {
    comment.remove_prefix(std::min(comment.find('\n'), comment.size()));
    comment = comment.substr(0, comment.rfind("\n=end"));
    return join(split_lines(comment), false);
  }
  comment.remove_prefix(std::min(comment.find('[', comment.find('[') + 1), comment.size() - 1) + 1);
  while (comment.ends_with(']') || comment.ends_with('=') || comment.ends_with('-')) {
    comment.remove_suffix(1);
  }
  std::vector<std::string_view> lines = split_lines(comment);
  std::erase_if(lines, is_rule);
  return join(std::move(lines), true);
}

// "(** text *)", "{-| text -}", "#= text =#": what stands between two characters at either end,
// behind what names a documentation tool.
std::string bordered_text(std::string_view comment) {
  comment.remove_prefix(2);
  comment.remove_suffix(std::min<std::size_t>(comment.size(), 2));
  comment.remove_prefix(std::min(comment.find_first_not_of(BLANKS), comment.size()));
  while (comment.ends_with('*')) comment.remove_suffix(1);
  comment.remove_prefix(std::min(comment.find_first_not_of("*|^"), comment.size()));
  std::vector<std::string_view> lines = split_lines(comment);
  std::erase_if(lines, is_rule);
  return join(std::move(lines), true);
}

// A string that documents what follows it.
std::string quoted_text(std::string_view comment) {
  const std::size_t first = std::min(comment.find_first_not_of('"'), comment.size());
  comment.remove_prefix(first);
  comment = comment.substr(0, comment.find_last_not_of('"') + 1);
  return join(split_lines(comment), comment.find('\n') != 0);
}

bool is_bordered(std::string_view comment) {
  return comment.starts_with("(*") || comment.starts_with("{-") ||
         (comment.size() > 4 && comment.starts_with("#=") && comment[2] != '=' &&
          comment.ends_with("=#"));
}

}  // namespace

std::string comment_text(std::string_view comment,
                         std::span<const std::string_view> line_comments) {
  if (comment.starts_with("/*")) return block_text(comment);
  if (is_bordered(comment)) return bordered_text(comment);
  if (comment.starts_with('"')) return quoted_text(comment);
  if (is_block_comment(comment)) return bracketed_text(comment);
  std::vector<std::string_view> lines = split_lines(comment);
  for (std::string_view& line : lines) {
    line.remove_prefix(indentation(line));
    for (const std::string_view marker : line_comments) {
      if (!line.starts_with(marker)) continue;
      line.remove_prefix(marker.size());
      break;
    }
  }
  std::erase_if(lines, is_rule);
  return join(std::move(lines), false);
}

std::string docstring_text(std::string_view docstring) {
  return join(split_lines(docstring), true);
}

std::string without_directives(std::string_view text) {
  constexpr std::string_view DIRECTIVES[] = {"-*-",
                                             "encoding:",
                                             "!/",
                                             "go:",
                                             "+build ",
                                             "nolint",
                                             "frozen_string_literal:",
                                             "rubocop:",
                                             ":nodoc:",
                                             "typed:",
                                             "shellcheck ",
                                             "luacheck:",
                                             "eslint-",
                                             "@ts-",
                                             "prettier-",
                                             "noinspection ",
                                             "phpcs:",
                                             "swiftlint:",
                                             "ktlint-",
                                             "clang-format o",
                                             "NOLINT"};
  std::vector<std::string_view> lines = split_lines(text);
  std::erase_if(lines, [&](std::string_view line) {
    return std::ranges::any_of(
        DIRECTIVES, [&](std::string_view directive) { return line.starts_with(directive); });
  });
  return join(std::move(lines), false);
}

bool is_block_comment(std::string_view comment) {
  return comment.starts_with("/*") || comment.starts_with("--[[") || comment.starts_with("--[=") ||
         comment.starts_with("=begin") || is_bordered(comment) || comment.starts_with('"');
}

bool is_trailing_comment(std::string_view comment) {
  if (comment.starts_with("-- ^")) return true;
  return comment.size() > 3 && comment[3] == '<' &&
         (comment.starts_with("///") || comment.starts_with("//!") || comment.starts_with("/**") ||
          comment.starts_with("/*!"));
}

bool is_licence(std::string_view comment) {
  std::string lower(comment);
  std::ranges::transform(lower, lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  constexpr std::array<std::string_view, 5> SIGNS = {"copyright", "licensed under", "spdx-license",
                                                     "all rights reserved", "license:"};
  return std::ranges::any_of(
      SIGNS, [&](std::string_view sign) { return lower.find(sign) != std::string::npos; });
}

}  // namespace velmora::host::indexing
