#include "indexing/c_macros.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "indexing/names.h"

namespace velmora::host::indexing {
namespace {

// Arguments longer than this are left alone; the bound keeps a line full of brackets cheap.
constexpr std::size_t LONGEST_ARGUMENTS = 200;
// More macros behind a declaration are left alone: each of their brackets is looked behind too.
constexpr std::size_t MOST_TRAILING = 16;

constexpr std::string_view BLANKS = " \t\r";

bool is_word(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Whether a macro's name tells that it is no type: names that begin with an underscore belong to
// the implementation of the language, and it has no types in capitals.
bool is_decoration_name(std::string_view name) {
  constexpr std::array<std::string_view, 6> ENDINGS = {"CONSTEXPR", "INLINE", "NODISCARD",
                                                       "EXPORT",    "API",    "EXTERN"};
  return name.starts_with('_') || std::ranges::any_of(ENDINGS, [&](std::string_view ending) {
           return name.ends_with(ending);
         });
}

class Blanker {
 public:
  explicit Blanker(std::string_view text) : text_(text), out_(text) {}

  std::string run() && {
    for (std::size_t start = 0; start < text_.size();) {
      const std::size_t first = skip(start);
      const bool directive = first < text_.size() && text_[first] == '#';
      const std::size_t stop = directive ? directive_end(start) : line_end(start);
      if (directive) {
        blank_comments(first, stop);
      } else if (first < stop) {
        line(first, stop);
      }
      start = stop + 1;
    }
    return std::move(out_);
  }

 private:
  void line(std::size_t at, std::size_t stop) {
    at = leading(skip_attributes(at));
    if (word_at(at) == "static" || word_at(at) == "extern") {
      const std::size_t next = skip(at + word_at(at).size());
      if (is_decoration_name(word_at(next))) at = leading(next);
    }
    if (is_decoration_name(word_at(at))) at = trailing(at);
    const std::string_view word = word_at(at);
    if (word == "class" || word == "struct" || word == "union" || word == "namespace") {
      at = beside_name(skip_attributes(skip(at + word.size())));
    }
    // A search that ran on to later lines would make a file without brackets take quadratic time.
    const std::string_view until_stop = text_.substr(0, stop);
    for (at = until_stop.find(')', at); at < stop; at = until_stop.find(')', at)) {
      at = skip(at + 1);
      if (word_at(at) == "const") at = skip(at + 5);
      at = trailing(at);
    }
  }

  // The place behind attributes, as "[[nodiscard]]", that stand on one line.
  std::size_t skip_attributes(std::size_t at) const {
    while (text_.substr(at).starts_with("[[")) {
      const std::size_t end = text_.substr(at, LONGEST_ARGUMENTS).find_first_of("]\n");
      if (end == text_.npos || !text_.substr(at + end).starts_with("]]")) break;
      at = skip(at + end + 2);
    }
    return at;
  }

  // The place of the declaration on a line that opens with macros at `at`.
  std::size_t leading(std::size_t at) {
    const std::size_t start = at;
    while (true) {
      const std::string_view word = word_at(at);
      if (!is_in_capitals(word)) break;
      const std::size_t end = skip_arguments(skip(at + word.size()));
      const bool no_type = is_decoration_name(word) || text_[end - 1] == ')';
      if (!opens_declaration(skip(end), no_type)) break;
      at = skip(end);
    }
    blank(start, at);
    return at;
  }

  // Whether a declaration of its own begins at `at`, right behind a macro: on the same line, or on
  // the next one. `no_type`: the macro cannot be the type in it.
  bool opens_declaration(std::size_t at, bool no_type) const {
    at = skip_attributes(at);
    if (!at_line_end(at)) {
      // "EXPORT int f()" and "EXPORT Name* f()", but not "BOOL f()".
      const std::string_view word = word_at(at);
      const std::size_t next = skip(at + word.size());
      return !word.empty() &&
             (at_line_end(next) || is_word(text_[next]) ||
              std::string_view("*&<").find(text_[next]) != text_.npos ||
              text_.substr(next).starts_with("::") || (no_type && text_[next] == '('));
    }
    const std::size_t next = text_.find_first_not_of(" \t\r\n", at);
    if (next == text_.npos) return true;
    if (no_type && text_[next] == '{') return !text_.substr(0, at).ends_with(')');
    if (!is_word(text_[next])) return std::string_view("#[/}~").find(text_[next]) != text_.npos;
    // A type may stand on the line above its function's name.
    const std::string_view word = word_at(next);
    const std::size_t open = skip(next + word.size());
    return no_type || open >= text_.size() || text_[open] != '(' || is_in_capitals(word);
  }

  // "EXPORT Name" and "Name VISIBILITY(default)" at `at`, behind "class" or "namespace".
  std::size_t beside_name(std::size_t at) {
    const std::string_view macro = word_at(at);
    const std::size_t after = skip(skip_arguments(at + macro.size()));
    const std::string_view name = word_at(after);
    if (is_in_capitals(macro) && !name.empty() && name != "final") {
      blank(at, after);
      at = after;
    }
    return trailing(skip(at + word_at(at).size()));
  }

  // Blanks the macros at `at` when nothing but them stands between it and the end of the line, a
  // body, or the end of the declaration. Returns the place behind them.
  std::size_t trailing(std::size_t at) {
    const std::size_t start = at;
    for (std::size_t i = 0; i < MOST_TRAILING && is_in_capitals(word_at(at)); ++i) {
      at = skip(skip_arguments(at + word_at(at).size()));
    }
    if (!at_line_end(at) && std::string_view("{;:=").find(text_[at]) == text_.npos) return start;
    blank(start, at);
    return at;
  }

  // Blanks the comments between the lines of a directive: the parser would end it at the first of
  // them and take what follows for code.
  void blank_comments(std::size_t at, std::size_t stop) {
    const std::string_view directive = text_.substr(at, stop - at);
    const std::size_t last_line = directive.rfind('\n');
    const std::size_t last_end = directive.rfind("*/");
    if (last_line == directive.npos || last_end == directive.npos) return;
    const std::size_t until = std::min(last_line, last_end);
    for (std::size_t i = directive.find("/*"); i < until; i = directive.find("/*", i)) {
      const std::size_t end = std::min(directive.find("*/", i + 2), directive.size() - 2) + 2;
      for (; i < end; ++i) {
        // The lines go on.
        if (std::string_view("\\\r\n").find(directive[i]) == directive.npos) out_[at + i] = ' ';
      }
    }
  }

  std::size_t line_end(std::size_t at) const {
    return std::min(text_.find('\n', at), text_.size());
  }

  // The end of the last of the lines that a directive goes on for.
  std::size_t directive_end(std::size_t at) const {
    while (true) {
      const std::size_t stop = line_end(at);
      const std::size_t last = text_.substr(at, stop - at).find_last_not_of(BLANKS);
      if (last == text_.npos || text_[at + last] != '\\' || stop == text_.size()) return stop;
      at = stop + 1;
    }
  }

  std::size_t skip(std::size_t at) const {
    return std::min(text_.find_first_not_of(" \t", at), text_.size());
  }

  std::string_view word_at(std::size_t at) const {
    std::size_t stop = at;
    while (stop < text_.size() && is_word(text_[stop])) ++stop;
    return text_.substr(at, stop - at);
  }

  // The place behind "(...)" at `at` when it closes on the same line, else `at`.
  std::size_t skip_arguments(std::size_t at) const {
    if (at >= text_.size() || text_[at] != '(') return at;
    const std::size_t stop = std::min(text_.size(), at + LONGEST_ARGUMENTS);
    int depth = 0;
    for (std::size_t i = at; i < stop && text_[i] != '\n'; ++i) {
      if (text_[i] == '(') ++depth;
      if (text_[i] == ')' && --depth == 0) return i + 1;
    }
    return at;
  }

  bool at_line_end(std::size_t at) const {
    return at >= text_.size() || text_[at] == '\n' || text_[at] == '\r';
  }

  void blank(std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) out_[i] = ' ';
  }

  const std::string_view text_;
  std::string out_;
};

}  // namespace

std::string blank_macros(std::string_view source) { return Blanker(source).run(); }

}  // namespace velmora::host::indexing
