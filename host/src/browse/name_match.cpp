#include "browse/name_match.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace velmora::host::browse {
namespace {

bool is_ascii(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return static_cast<signed char>(c) < 0; });
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Whether `text` folds to `folded`, which most texts are too long or too short for.
bool folds_to(std::string_view text, std::string_view folded) {
  if (!is_ascii(text)) return fold_case(text) == folded;
  return std::ranges::equal(text, folded, {}, lower);
}

// The parts of a qualified name, each with a dot before it: ".app.Store.size".
std::string parts_of(std::string_view name) {
  std::string parts;
  bool between = true;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool arrow = name.substr(i, 2) == "->";
    if (arrow || std::string_view(".:#/\\").find(name[i]) != std::string_view::npos) {
      if (arrow) ++i;
      between = true;
      continue;
    }
    if (between) parts += '.';
    between = false;
    parts += name[i];
  }
  return parts;
}

bool is_qualified(std::string_view parts) { return parts.find('.', 1) != std::string_view::npos; }

std::string_view without_call(std::string_view typed) {
  if (typed.ends_with("()") && !typed.ends_with("operator()")) typed.remove_suffix(2);
  return typed;
}

std::size_t next_character(std::string_view text, std::size_t at) {
  do ++at;
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80);
  return at;
}

// Only the last star needs to be tried again: whatever an earlier one could take, it may too.
bool wildcards_match(std::string_view pattern, std::string_view text) {
  std::size_t p = 0, t = 0, after_star = std::string_view::npos, star_text = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      after_star = ++p;
      star_text = t;
    } else if (p < pattern.size() && pattern[p] == '?') {
      ++p;
      t = next_character(text, t);
    } else if (p < pattern.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else if (after_star != std::string_view::npos) {
      p = after_star;
      t = star_text = next_character(text, star_text);
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

}  // namespace

std::string fold_case(std::string_view text) {
  std::string folded(text);
  if (is_ascii(text)) {
    std::ranges::transform(folded, folded.begin(), lower);
    return folded;
  }
  folded.clear();
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t start = i;
    UChar32 character = 0;
    U8_NEXT(bytes, i, text.size(), character);
    if (character < 0) {  // not UTF-8
      folded.append(text.substr(start, i - start));
      continue;
    }
    std::uint8_t encoded[U8_MAX_LENGTH];
    std::size_t size = 0;
    const auto folded_character =
        static_cast<std::uint32_t>(u_foldCase(character, U_FOLD_CASE_DEFAULT));
    U8_APPEND_UNSAFE(encoded, size, folded_character);
    folded.append(reinterpret_cast<const char*>(encoded), size);
  }
  return folded;
}

NameMatch::NameMatch(std::string_view typed)
    : typed_(without_call(typed)), folded_(fold_case(typed_)), parts_(parts_of(typed_)) {
  if (!is_qualified(parts_)) parts_.clear();
  folded_parts_ = fold_case(parts_);
}

std::optional<int> NameMatch::grade(std::string_view name, std::string_view fqn) const {
  if (typed_.empty()) return std::nullopt;
  if (fqn == typed_) return 0;
  if (name == typed_) return 1;
  if (folds_to(name, folded_) || folds_to(fqn, folded_)) return 2;
  if (parts_.empty()) return std::nullopt;
  const std::string parts = parts_of(fqn);
  if (parts.ends_with(parts_)) return 3;
  if (fold_case(parts).ends_with(folded_parts_)) return 4;
  return std::nullopt;
}

NamePattern::NamePattern(std::string_view pattern) {
  if (pattern.empty()) throw std::invalid_argument("The pattern is empty");
  if (pattern.size() > LONGEST) {
    throw std::invalid_argument("The pattern is longer than " + std::to_string(LONGEST) + " bytes");
  }
  const std::string parts = parts_of(pattern);
  qualified_ = is_qualified(parts);
  pattern_ = fold_case(qualified_ ? "*" + parts : std::string(pattern));
}

bool NamePattern::matches(std::string_view name, std::string_view fqn) const {
  return wildcards_match(pattern_, fold_case(qualified_ ? parts_of(fqn) : std::string(name)));
}

}  // namespace velmora::host::browse
