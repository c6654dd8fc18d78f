#include "indexing/component.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "indexing/language_names.h"

namespace velmora::host::indexing {
namespace {

constexpr std::string_view BLANKS = " \t\r\n\f";

enum class Script { javascript, typescript, other };

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Whether `word`, in lower case, stands at the byte `at`.
bool stands_at(std::string_view text, std::size_t at, std::string_view word) {
  return text.size() - at >= word.size() &&
         std::ranges::equal(text.substr(at, word.size()), word, {}, lower);
}

Script script_named(std::string_view language) {
  if (language == "ts" || language == "tsx" || language == "typescript") return Script::typescript;
  const bool is_plain = language.empty() || language == "js" || language == "jsx" ||
                        language == "javascript" || language == "babel";
  return is_plain ? Script::javascript : Script::other;
}

// "text/javascript", "module", "text/typescript"
Script script_of_type(std::string_view type) {
  if (type == "module") return Script::javascript;
  return script_named(type.substr(type.rfind('/') + 1));
}

// Reads a component from its beginning to its end.
class Component {
 public:
  Component(std::string_view language, std::string_view content)
      : content_(content), found_{.language = language, .text = std::string(content)} {}

  EmbeddedSource read() {
    while (at_ < content_.size()) {
      at_ = std::min(content_.find('<', at_), content_.size());
      if (at_ == content_.size()) break;
      if (stands_at(content_, at_, "<!--")) {
        skip_to("-->", at_ + 4);
      } else if (opens("<style")) {
        read_tag();
        skip_to("</style", at_);
      } else if (opens("<script")) {
        read_script();
      } else {
        ++at_;
      }
    }
    blank(kept_, content_.size());
    return std::move(found_);
  }

 private:
  [[nodiscard]] bool opens(std::string_view tag) const {
    if (!stands_at(content_, at_, tag)) return false;
    const std::size_t end = at_ + tag.size();
    constexpr std::string_view ENDS = " \t\r\n\f/>";
    return end < content_.size() && ENDS.find(content_[end]) != std::string_view::npos;
  }

  // To behind `text`, which is in lower case.
  void skip_to(std::string_view text, std::size_t from) {
    for (at_ = from; at_ < content_.size(); ++at_) {
      at_ = std::min(content_.find(text.front(), at_), content_.size());
      if (stands_at(content_, at_, text)) {
        at_ += text.size();
        return;
      }
    }
  }

  struct Tag {
    Script script = Script::javascript;
    bool is_closed = false;
  };

  // An opening tag, up to behind its end.
  Tag read_tag() {
    Tag tag;
    at_ = std::min(content_.find_first_of(" \t\r\n\f/>", at_), content_.size());
    while (true) {
      at_ = std::min(content_.find_first_not_of(BLANKS, at_), content_.size());
      if (at_ == content_.size()) return tag;
      const char c = content_[at_];
      if (c == '>') {
        ++at_;
        return tag;
      }
      tag.is_closed = c == '/';
      if (c == '/') {
        ++at_;
        continue;
      }
      const std::size_t start = at_;
      at_ = std::min(content_.find_first_of("= \t\r\n\f/>", at_ + 1), content_.size());
      const std::string_view name = content_.substr(start, at_ - start);
      const std::string_view value = read_value();
      if (name == "lang") tag.script = script_named(value);
      if (name == "type") tag.script = script_of_type(value);
    }
  }

  // The value of an attribute whose name has been read; "" when it has none.
  std::string_view read_value() {
    const std::size_t equals = std::min(content_.find_first_not_of(BLANKS, at_), content_.size());
    if (equals == content_.size() || content_[equals] != '=') return {};
    at_ = std::min(content_.find_first_not_of(BLANKS, equals + 1), content_.size());
    if (at_ == content_.size()) return {};
    const char quote = content_[at_];
    const bool is_quoted = quote == '"' || quote == '\'';
    const std::size_t start = is_quoted ? at_ + 1 : at_;
    const std::size_t end = std::min(
        is_quoted ? content_.find(quote, start) : content_.find_first_of(" \t\r\n\f>", start),
        content_.size());
    at_ = std::min(is_quoted ? end + 1 : end, content_.size());
    return content_.substr(start, end - start);
  }

  void read_script() {
    const Tag tag = read_tag();
    if (tag.is_closed) return;
    constexpr std::string_view END = "</script";
    const std::size_t start = at_;
    skip_to(END, at_);
    const bool is_ended = at_ > start && stands_at(content_, at_ - END.size(), END);
    const std::size_t stop = is_ended ? at_ - END.size() : at_;
    if (tag.script == Script::other) return;
    const std::string_view typescript = built_in("typescript");
    if (tag.script == Script::typescript && !typescript.empty()) found_.language = typescript;
    blank(kept_, start);
    kept_ = stop;
  }

  // But for the line breaks.
  void blank(std::size_t start, std::size_t stop) {
    for (std::size_t i = start; i < stop; ++i) {
      if (found_.text[i] != '\n') found_.text[i] = ' ';
    }
  }

  const std::string_view content_;
  std::size_t at_ = 0;
  std::size_t kept_ = 0;  // the end of the last script, or the beginning
  EmbeddedSource found_;
};

}  // namespace

EmbeddedSource source_of_component(std::string_view language, std::string_view content) {
  return Component(language, content).read();
}

}  // namespace velmora::host::indexing
