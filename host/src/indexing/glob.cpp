#include "indexing/glob.h"

#include <algorithm>
#include <optional>

namespace velmora::host::indexing {
namespace {

using Set = std::bitset<256>;

bool is_letter(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_digit(unsigned char c) { return c >= '0' && c <= '9'; }
bool is_graphic(unsigned char c) { return c > ' ' && c < 0x7F; }

// Whether an ASCII character is in a class; nothing when there is no such class. The locale does
// not count, and white space is what git takes for it.
std::optional<bool> in_class(std::string_view name, unsigned char c) {
  if (name == "alnum") return is_letter(c) || is_digit(c);
  if (name == "alpha") return is_letter(c);
  if (name == "blank") return c == ' ' || c == '\t';
  if (name == "cntrl") return c < ' ' || c == 0x7F;
  if (name == "digit") return is_digit(c);
  if (name == "graph") return is_graphic(c);
  if (name == "lower") return c >= 'a' && c <= 'z';
  if (name == "print") return is_graphic(c) || c == ' ';
  if (name == "punct") return is_graphic(c) && !is_letter(c) && !is_digit(c);
  if (name == "space") return c == ' ' || c == '\t' || c == '\n' || c == '\r';
  if (name == "upper") return c >= 'A' && c <= 'Z';
  if (name == "xdigit") return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
  return std::nullopt;
}

bool add_class(std::string_view name, Set& set) {
  for (unsigned c = 0; c < 0x80; ++c) {
    const std::optional<bool> in = in_class(name, static_cast<unsigned char>(c));
    if (!in) return false;
    if (*in) set.set(c);
  }
  return true;
}

// Reads a set; `at` is behind its opening bracket, and then behind the closing one. Nothing when
// none closes it.
std::optional<Set> read_set(std::string_view pattern, std::size_t& at) {
  constexpr int NONE = -1;
  const auto peek = [&](std::size_t i) {
    return i < pattern.size() ? static_cast<unsigned char>(pattern[i]) : NONE;
  };
  Set set;
  const bool negated = peek(at) == '!' || peek(at) == '^';
  if (negated) ++at;
  int before = NONE;  // may begin a range
  for (bool first = true; first || peek(at) != ']'; first = false, ++at) {
    int c = peek(at);
    if (c == NONE) return std::nullopt;
    if (c == '-' && before != NONE && peek(at + 1) != NONE && peek(at + 1) != ']') {
      c = peek(++at);
      if (c == '\\') c = peek(++at);
      if (c == NONE) return std::nullopt;
      for (int in = before; in <= c; ++in) set.set(static_cast<std::size_t>(in));
      before = NONE;
      continue;
    }
    if (c == '[' && peek(at + 1) == ':') {
      const std::size_t name = at + 2;
      const std::size_t stop = pattern.find(']', name);
      if (stop == std::string_view::npos) return std::nullopt;
      if (stop > name && pattern[stop - 1] == ':') {
        if (!add_class(pattern.substr(name, stop - 1 - name), set)) return std::nullopt;
        at = stop;
        before = NONE;
        continue;
      }
    }
    if (c == '\\') c = peek(++at);
    if (c == NONE) return std::nullopt;
    set.set(static_cast<std::size_t>(c));
    before = c;
  }
  ++at;
  if (negated) set.flip();
  set.reset('/');
  return set;
}

}  // namespace

Glob::Glob(std::string_view pattern) {
  // Two stars right behind the literal beginning count as standing at the beginning, whatever
  // character is before them: so does git, which strips it first.
  const std::size_t wild = std::min(pattern.find_first_of("*?[\\"), pattern.size());
  beginning_ = pattern.substr(0, wild);
  compile(pattern.substr(wild));
  while (!tokens_.empty() && tokens_.back().kind == Kind::literal) {
    end_ += tokens_.back().literal;
    tokens_.pop_back();
  }
  std::ranges::reverse(end_);
}

void Glob::compile(std::string_view pattern) {
  for (std::size_t at = 0; at < pattern.size();) {
    const std::size_t start = at;
    char c = pattern[at++];
    if (c == '*') {
      at = std::min(pattern.find_first_not_of('*', at), pattern.size());
      const std::string_view rest = pattern.substr(at);
      const bool alone = (start == 0 || pattern[start - 1] == '/') &&
                         (rest.empty() || rest.starts_with('/') || rest.starts_with("\\/"));
      if (at - start < 2 || !alone) {
        tokens_.push_back({Kind::star});
      } else if (rest.starts_with('/')) {
        tokens_.push_back({Kind::maybe_folders});
        tokens_.push_back({Kind::folders});
        ++at;
      } else {
        tokens_.push_back({Kind::stars});
      }
    } else if (c == '?') {
      tokens_.push_back({Kind::any});
    } else if (c == '[') {
      const std::optional<Set> set = read_set(pattern, at);
      if (!set) {
        possible_ = false;
        return;
      }
      tokens_.push_back({Kind::set, '\0', static_cast<std::uint32_t>(sets_.size())});
      sets_.push_back(*set);
    } else {
      if (c == '\\') {
        possible_ = at < pattern.size();
        if (!possible_) return;
        c = pattern[at++];
      }
      tokens_.push_back({Kind::literal, c});
    }
  }
}

bool Glob::matches(std::string_view path, std::uint64_t& steps) const {
  ++steps;
  if (!possible_ || path.size() < beginning_.size() + end_.size()) return false;
  if (!path.starts_with(beginning_) || !path.ends_with(end_)) return false;
  path.remove_prefix(beginning_.size());
  path.remove_suffix(end_.size());
  return middle_matches(path, steps);
}

bool Glob::accepts(const Token& token, char c) const {
  switch (token.kind) {
    case Kind::literal:
      return c == token.literal;
    case Kind::set:
      return sets_[token.set].test(static_cast<unsigned char>(c));
    case Kind::folders:
      return c == '/';
    case Kind::any:
      return c != '/';
    default:
      return false;
  }
}

// All ways to match are followed at once: a state is the number of tokens that are behind, and
// those that are reached lie between `first` and `last`.
bool Glob::middle_matches(std::string_view text, std::uint64_t& steps) const {
  const std::size_t end = tokens_.size();
  std::string now(end + 1, '\0');
  std::string next(end + 1, '\0');
  std::size_t first = 0;
  std::size_t last = 0;
  now[0] = 1;
  // Adds the states that are reached without a character.
  const auto settle = [&] {
    for (std::size_t at = first; at <= last && at < end; ++at) {
      if (now[at] == 0) continue;
      const Kind kind = tokens_[at].kind;
      if (kind != Kind::star && kind != Kind::stars && kind != Kind::maybe_folders) continue;
      now[at + 1] = 1;
      if (kind == Kind::maybe_folders) now[at + 2] = 1;
      last = std::max(last, kind == Kind::maybe_folders ? at + 2 : at + 1);
    }
  };
  settle();
  for (const char c : text) {
    steps += last - first + 1;
    std::size_t lowest = end + 1;
    std::size_t highest = 0;
    const auto reach = [&](std::size_t at) {
      next[at] = 1;
      lowest = std::min(lowest, at);
      highest = std::max(highest, at);
    };
    for (std::size_t at = first; at <= last; ++at) {
      if (now[at] == 0) continue;
      now[at] = 0;
      if (at == end) continue;
      const Kind kind = tokens_[at].kind;
      const bool stays =
          kind == Kind::stars || kind == Kind::folders || (kind == Kind::star && c != '/');
      if (stays) reach(at);
      if (accepts(tokens_[at], c)) reach(at + 1);
    }
    if (lowest > end) return false;
    now.swap(next);
    first = lowest;
    last = highest;
    settle();
  }
  return now[end] != 0;
}

}  // namespace velmora::host::indexing
