#include "indexing/php_enums.h"

#include <algorithm>
#include <cstddef>

namespace velmora::host::indexing {
namespace {

constexpr std::string_view BLANKS = " \t\r\n";
// A type that takes more room than this is none.
constexpr std::size_t LONGEST_TYPE = 200;

bool is_word(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         (static_cast<unsigned char>(c) & 0x80U) != 0;
}

class Rewriter {
 public:
  explicit Rewriter(std::string_view text) : text_(text), out_(text) {}

  std::string run() && {
    constexpr std::string_view ENUM = "enum";
    for (std::size_t at = text_.find(ENUM); at < text_.size(); at = text_.find(ENUM, at)) {
      const bool apart = at == 0 || !is_word(text_[at - 1]);
      at += ENUM.size();
      const std::size_t name = skip_blanks(at);
      if (!apart || name == at || word_at(name).empty()) continue;
      // "enum Side: string implements HasLabel {"
      const std::size_t open = text_.find_first_of("{};()", name);
      if (open != text_.npos && text_[open] == '{') at = body(open + 1);
    }
    return std::move(out_);
  }

 private:
  // Rewrites the body that begins at `at`; returns where it ends.
  std::size_t body(std::size_t at) {
    std::size_t depth = 1;
    bool begins = true;  // a member
    while (depth > 0 && (at = skip_comments(at)) < text_.size()) {
      const char c = text_[at];
      if (begins && depth == 1 && is_word(c)) {
        at = member(at);
        begins = false;
      } else if (c == '\'' || c == '"' || c == '`') {
        at = skip_string(at);
      } else {
        if (c == '{') ++depth;
        if (c == '}') --depth;
        begins = c == ';' || c == '{' || c == '}';
        ++at;
      }
    }
    return at;
  }

  // Rewrites the member that begins at `at` when it is a constant; returns a place in it.
  std::size_t member(std::size_t at) {
    constexpr std::string_view MODIFIERS[] = {"public", "protected", "private", "final"};
    const std::size_t start = at;
    std::string_view word = word_at(at);
    while (std::ranges::find(MODIFIERS, word) != std::end(MODIFIERS)) {
      at = skip_blanks(at + word.size());
      word = word_at(at);
    }
    if (word != "const") return at + word.size();
    const std::size_t from = at + word.size();
    const std::string_view head =
        text_.substr(from, LONGEST_TYPE)
            .substr(0, text_.substr(from, LONGEST_TYPE).find_first_of("=;{}"));
    const std::size_t last = head.find_last_not_of(BLANKS);
    if (last == head.npos) return from;
    std::size_t name = last;
    while (name > 0 && is_word(head[name - 1])) --name;
    blank(start, at);
    out_.replace(at, word.size(), "case ");
    blank(from, from + name);
    return from + last;
  }

  void blank(std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
      if (out_[i] != '\n') out_[i] = ' ';
    }
  }

  [[nodiscard]] std::string_view word_at(std::size_t at) const {
    std::size_t end = at;
    while (end < text_.size() && is_word(text_[end])) ++end;
    return text_.substr(at, end - at);
  }

  [[nodiscard]] std::size_t skip_blanks(std::size_t at) const {
    return std::min(text_.find_first_not_of(BLANKS, at), text_.size());
  }

  // Blanks and attributes too, which stand in front of members as comments do.
  [[nodiscard]] std::size_t skip_comments(std::size_t at) const {
    while (true) {
      at = skip_blanks(at);
      const std::string_view rest = text_.substr(at);
      if (rest.starts_with("/*")) {
        at = after("*/", at + 2);
      } else if (rest.starts_with("#[")) {
        at = after("]", at);
      } else if (rest.starts_with("#") || rest.starts_with("//")) {
        at = after("\n", at);
      } else {
        return at;
      }
    }
  }

  [[nodiscard]] std::size_t after(std::string_view closing, std::size_t at) const {
    const std::size_t found = text_.find(closing, at);
    return found == text_.npos ? text_.size() : found + closing.size();
  }

  [[nodiscard]] std::size_t skip_string(std::size_t at) const {
    const char quote = text_[at];
    for (++at; at < text_.size() && text_[at] != quote; ++at) {
      if (text_[at] == '\\') ++at;
    }
    return std::min(at + 1, text_.size());
  }

  std::string_view text_;
  std::string out_;
};

}  // namespace

std::string enum_constants_as_cases(std::string_view source) { return Rewriter(source).run(); }

}  // namespace velmora::host::indexing
