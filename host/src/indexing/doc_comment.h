// The prose in a comment or a docstring.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace velmora::host::indexing {

// The text of a block comment, or of line comments that stand one below the other: without comment
// markers, rules of punctuation, common indentation, and blank lines at either end. Empty when
// nothing is left. `line_comments` are the markers of line comments, longer ones first.
[[nodiscard]] std::string comment_text(std::string_view comment,
                                       std::span<const std::string_view> line_comments);

// The text of a documentation string that stands in the source without its quotes.
[[nodiscard]] std::string docstring_text(std::string_view docstring);

// The text of a comment without the lines that speak to tools: "go:generate", "rubocop:disable".
[[nodiscard]] std::string without_directives(std::string_view text);

// Whether a comment is a block, which stands for itself, and not a line.
[[nodiscard]] bool is_block_comment(std::string_view comment);

// Whether a comment documents what stands before it on its line.
[[nodiscard]] bool is_trailing_comment(std::string_view comment);

// Whether a comment holds the terms of a licence.
[[nodiscard]] bool is_licence(std::string_view comment);

}  // namespace velmora::host::indexing
