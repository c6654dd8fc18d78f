#include "indexing/kotlin_syntax.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace velmora::host::indexing {
namespace {

// Blanks what follows "by" in the header of a class: of "class A(b: B) : C by b {" the parser would
// take the class's body for an argument of what is delegated to.
//
// The text is read once, word for word. A header is what follows "class" or "object" up to a brace
// or a word that begins another declaration, outside of its brackets.
class DelegationBlanker {
 public:
  explicit DelegationBlanker(std::string& text) : text_(text) {}

  void run() {
    for (std::size_t at = 0; at < text_.size();) {
      const std::size_t token = at;
      at = token_end(token);
      const std::string_view word(text_.data() + token, at - token);
      if (word == "class" || word == "object") {
        in_header_ = true;
        depth_ = 0;
      } else if (in_header_ && word == "by" && depth_ == 0) {
        at = delegate(token);
      } else if (in_header_) {
        read_header(word);
      }
    }
  }

 private:
  // A lambda that a delegate takes is looked through for its end so far, in bytes.
  static constexpr std::size_t LONGEST_LAMBDA = 400;

  static bool is_word(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           static_cast<signed char>(c) < 0;
  }

  void read_header(std::string_view token) {
    if (token == "(" || token == "[") {
      ++depth_;
    } else if (token == ")" || token == "]") {
      in_header_ = --depth_ >= 0;
    } else if (depth_ == 0) {
      constexpr std::string_view ENDS[] = {"{", "}", ";", "=", "fun", "val", "var", "interface"};
      in_header_ = std::ranges::find(ENDS, token) == std::end(ENDS);
    }
  }

  // Reads what "by" at `start` delegates to, and blanks it when a body or another type follows.
  // Returns the place behind it.
  std::size_t delegate(std::size_t start) {
    int depth = 0;
    std::size_t at = start + 2;
    while (at < text_.size()) {
      const char c = text_[at];
      if (c == '(' || c == '[') ++depth;
      if (c == ')' || c == ']') --depth;
      if (depth < 0 || (depth == 0 && (c == '}' || c == ';'))) break;
      if (depth == 0 && c == '\n') {
        const std::size_t next = std::min(text_.find_first_not_of(" \t\r\n", at), text_.size());
        constexpr std::string_view GOING_ON = ".?,{";
        if (next == text_.size() || GOING_ON.find(text_[next]) == GOING_ON.npos) break;
        at = next;
        continue;
      }
      if (depth == 0 && c == '{') {
        if (const std::size_t end = lambda_end(at); end != at) {
          at = end;
          continue;
        }
      }
      if (depth == 0 && (c == '{' || c == ',')) {
        for (std::size_t i = start; i < at; ++i) {
          if (text_[i] != '\n') text_[i] = ' ';
        }
        return at;
      }
      at = token_end(at);
    }
    in_header_ = false;
    return at;
  }

  // The place behind the lambda at `open`, or `open` when that opens the body of the class: a body
  // or another type follows a lambda.
  std::size_t lambda_end(std::size_t open) const {
    int depth = 0;
    const std::size_t stop = std::min(text_.size(), open + LONGEST_LAMBDA);
    for (std::size_t at = open; at < stop; at = token_end(at)) {
      if (text_[at] == '{') ++depth;
      if (text_[at] != '}' || --depth > 0) continue;
      const std::size_t next = text_.find_first_not_of(" \t", at + 1);
      const bool follows = next != std::string::npos && (text_[next] == '{' || text_[next] == ',');
      return follows ? at + 1 : open;
    }
    return open;
  }

  // The place behind the word, string, comment or character at `at`.
  std::size_t token_end(std::size_t at) const {
    const std::string_view rest = std::string_view(text_).substr(at);
    const auto behind = [&](std::string_view mark, std::size_t from) {
      const std::size_t end = text_.find(mark, at + from);
      return end == std::string::npos ? text_.size() : end + mark.size();
    };
    if (rest.starts_with("//")) return std::min(text_.find('\n', at), text_.size());
    if (rest.starts_with("/*")) return behind("*/", 2);
    if (rest.starts_with("\"\"\"")) return behind("\"\"\"", 3);
    if (std::string_view("\"'`").find(rest.front()) != rest.npos) return quoted_end(at);
    std::size_t end = at;
    while (end < text_.size() && is_word(text_[end])) ++end;
    return std::max(end, at + 1);
  }

  // Quotes that are not closed end with their line.
  std::size_t quoted_end(std::size_t at) const {
    const char quote = text_[at++];
    while (at < text_.size() && text_[at] != quote && text_[at] != '\n') {
      at += text_[at] == '\\' && quote != '`' ? 2U : 1U;
    }
    return std::min(at + 1, text_.size());
  }

  std::string& text_;
  bool in_header_ = false;
  int depth_ = 0;  // of brackets in the header
};

// "fun interface" without its "fun": the parser would take it for a function.
void blank_fun_interfaces(std::string& text) {
  constexpr std::string_view WORDS = "fun interface ";
  for (std::size_t at = 0; (at = text.find(WORDS, at)) != std::string::npos; at += WORDS.size()) {
    const bool starts_word =
        at == 0 || text[at - 1] == ' ' || text[at - 1] == '\n' || text[at - 1] == '\t';
    if (starts_word) text.replace(at, 3, 3, ' ');
  }
}

// Whether what is at `at` can begin a declaration: a modifier, an annotation or a keyword.
bool begins_declaration(std::string_view text, std::size_t at) {
  constexpr std::string_view WORDS[] = {
      "@",      "fun",      "val",      "var",       "class",    "interface", "object",
      "public", "private",  "internal", "protected", "abstract", "open",      "final",
      "inline", "operator", "override", "suspend",   "infix",    "tailrec",   "context("};
  return std::ranges::any_of(
      WORDS, [&](std::string_view word) { return text.substr(at).starts_with(word); });
}

// "context(a: A)" in front of a declaration becomes "@ontext(    )": to the parser, which does not
// know it, an annotation belongs to what follows.
void annotate_contexts(std::string& text) {
  constexpr std::string_view WORD = "context(";
  constexpr std::size_t LONGEST = 1000;
  for (std::size_t at = 0; (at = text.find(WORD, at)) != std::string::npos; at += WORD.size()) {
    const std::size_t line = text.find_last_not_of(" \t", at - std::min<std::size_t>(at, 1));
    if (at > 0 && line != std::string::npos && text[line] != '\n') continue;
    const std::size_t open = at + WORD.size();
    int depth = 1;
    std::size_t close = open;
    for (const std::size_t stop = std::min(text.size(), open + LONGEST); close < stop; ++close) {
      if (text[close] == '(') ++depth;
      if (text[close] == ')' && --depth == 0) break;
    }
    const std::size_t next = depth == 0 ? text.find_first_not_of(" \t\r\n", close + 1) : close;
    if (depth != 0 || next == std::string::npos || !begins_declaration(text, next)) continue;
    text[at] = '@';
    for (std::size_t i = open; i < close; ++i) {
      if (text[i] != '\n') text[i] = ' ';
    }
  }
}

}  // namespace

std::string known_kotlin(std::string_view source) {
  std::string text(source);
  DelegationBlanker(text).run();
  blank_fun_interfaces(text);
  annotate_contexts(text);
  return text;
}

}  // namespace velmora::host::indexing
