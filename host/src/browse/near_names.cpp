#include "browse/near_names.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>

#include "text/printable.h"
#include "velmora/utils/language_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::browse {
namespace {

using workers::retrieval::split_identifier;

// Of two letters, every other name is one edit away.
constexpr std::size_t SHORTEST_MISTYPED = 3;

// The characters in one case; bytes that are not UTF-8 are all alike.
std::u32string folded(std::string_view text) {
  std::u32string characters;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t i = 0; i < text.size();) {
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(bytes, i, text.size(), character);
    characters += static_cast<char32_t>(u_foldCase(character, U_FOLD_CASE_DEFAULT));
  }
  return characters;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<signed char>(c) >= 0; });
}

std::vector<std::string> sorted(std::vector<std::string> words) {
  std::sort(words.begin(), words.end());
  return words;
}

// Names of other letters have another sum, but for an accident.
std::uint64_t letter_sum(std::string_view text) {
  std::uint64_t sum = 0;
  for (const char c : text) {
    const bool capital = c >= 'A' && c <= 'Z';
    if (!capital && !(c >= 'a' && c <= 'z') && !(c >= '0' && c <= '9')) continue;
    const std::uint64_t spread =
        static_cast<std::uint64_t>(capital ? c - 'A' + 'a' : c) * 0x9E3779B97F4A7C15U;
    sum += spread ^ (spread >> 29);
  }
  return sum;
}

}  // namespace

bool is_one_edit(std::u32string_view left, std::u32string_view right) {
  const auto [first, second] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  left.remove_prefix(static_cast<std::size_t>(first - left.begin()));
  right.remove_prefix(static_cast<std::size_t>(second - right.begin()));
  while (!left.empty() && !right.empty() && left.back() == right.back()) {
    left.remove_suffix(1);
    right.remove_suffix(1);
  }
  const std::size_t longer = std::max(left.size(), right.size());
  if (longer == 2) return right.size() == 2 && left == std::u32string{right[1], right[0]};
  return longer == 1;
}

NearNames::NearNames(std::string_view asked)
    : asked_(asked.size() > LONGEST_NEAR_NAME ? std::string_view() : asked),
      folded_(folded(asked_)),
      words_(is_ascii(asked_) ? split_identifier(asked_) : std::vector<std::string>()),
      sorted_words_(sorted(words_)),
      letters_(letter_sum(asked_)) {}

NearNames::Nearness NearNames::nearness(std::string_view name) const {
  if (!words_.empty() && letters_ == letter_sum(name) && is_ascii(name)) {
    const std::vector<std::string> words = split_identifier(name);
    if (words == words_) return Nearness::same_words;
    if (sorted(words) == sorted_words_) return Nearness::other_order;
  }
  const std::u32string characters = folded(name);
  if (characters == folded_) return Nearness::same_words;
  const bool mistyped = std::min(characters.size(), folded_.size()) >= SHORTEST_MISTYPED;
  return mistyped && is_one_edit(folded_, characters) ? Nearness::one_edit : Nearness::none;
}

void NearNames::add(std::string_view name) {
  if (name.size() > LONGEST_NEAR_NAME || name == asked_) return;
  const Nearness nearness = this->nearness(name);
  if (nearness == Nearness::none) return;
  found_.emplace(nearness, name);
  if (found_.size() > MOST_NEAR_NAMES) found_.erase(std::prev(found_.end()));
}

std::vector<std::string> NearNames::names() const {
  std::vector<std::string> names;
  for (const auto& [nearness, name] : found_) names.push_back(name);
  return names;
}

std::vector<std::string> near_names(std::string_view asked, storage::Repository& repository) {
  NearNames near(asked);
  const auto rows = repository.retrievable_code_symbols(
      utils::SOURCE_LANGUAGES.words(), workers::retrieval::RETRIEVABLE_KINDS.words());
  while (const storage::SymbolRow* row = rows->next()) near.add(row->name);
  return near.names();
}

std::string did_you_mean(const std::vector<std::string>& names) {
  std::string sentence;
  for (const std::string& name : names) {
    sentence += (sentence.empty() ? "Did you mean: " : ", ") + text::printable_line(name);
  }
  return sentence.empty() ? sentence : sentence + "?";
}

std::string did_you_mean(std::string_view name, storage::Repository& repository) {
  return did_you_mean(near_names(name.substr(name.find_last_of(".:") + 1), repository));
}

}  // namespace velmora::host::browse
