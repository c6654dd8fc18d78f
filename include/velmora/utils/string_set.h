// An immutable set of words known at compile time.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>

namespace velmora::utils {

// `N` distinct words, iterable in the order given, with constant-time membership. Wholly constexpr,
// so it depends on no order of static initialisation, and safe to read from any thread.
template <std::size_t N>
class StringSet {
 public:
  // Throws std::logic_error when a word is listed twice, which ends a compilation.
  constexpr explicit StringSet(const std::array<std::string_view, N>& words) : words_(words) {
    for (std::size_t i = 0; i < N; ++i) {
      longest_ = std::max(longest_, words[i].size());
      std::size_t slot = hash(words[i]) & (SLOTS - 1);
      while (slots_[slot] != 0) {
        if (words_[slots_[slot] - 1] == words[i]) throw std::logic_error("a word is listed twice");
        slot = (slot + 1) & (SLOTS - 1);
      }
      slots_[slot] = static_cast<std::uint16_t>(i + 1);
    }
  }

  // The word's place in the order given, or nothing when it is not in the set.
  [[nodiscard]] constexpr std::optional<std::size_t> index(std::string_view word) const {
    if (word.size() > longest_) return std::nullopt;
    std::size_t slot = hash(word) & (SLOTS - 1);
    while (slots_[slot] != 0) {
      if (words_[slots_[slot] - 1] == word) return slots_[slot] - std::size_t{1};
      slot = (slot + 1) & (SLOTS - 1);
    }
    return std::nullopt;
  }

  // Whether the word is in the set.
  [[nodiscard]] constexpr bool contains(std::string_view word) const {
    return index(word).has_value();
  }

  // How many words there are.
  [[nodiscard]] constexpr std::size_t size() const { return N; }

  // The words in the order given, as a range and as a span; both live as long as the set.
  [[nodiscard]] constexpr auto begin() const { return words_.begin(); }
  [[nodiscard]] constexpr auto end() const { return words_.end(); }  // behind the last word
  // All of them.
  [[nodiscard]] constexpr std::span<const std::string_view> words() const { return words_; }

 private:
  static constexpr std::size_t slot_count() {
    std::size_t slots = 8;
    while (slots < 4 * N) slots *= 2;
    return slots;
  }
  static constexpr std::size_t SLOTS = slot_count();

  // Length, first, middle and last character tell short words apart well enough, and never walk a
  // long one.
  static constexpr std::size_t hash(std::string_view word) {
    if (word.empty()) return 0;
    const auto at = [word](std::size_t i) { return static_cast<unsigned char>(word[i]); };
    std::uint32_t value = static_cast<std::uint32_t>(word.size()) * 0x9E3779B1u;
    value = (value ^ at(0)) * 0x85EBCA6Bu;
    value = (value ^ at(word.size() / 2)) * 0xC2B2AE35u;
    value = (value ^ at(word.size() - 1)) * 0x27D4EB2Fu;
    return value ^ (value >> 15);
  }

  std::array<std::string_view, N> words_;
  std::array<std::uint16_t, SLOTS> slots_{};
  std::size_t longest_ = 0;
};

// The set of the words given, for instance `string_set("class", "struct")`.
template <class... Words>
[[nodiscard]] constexpr auto string_set(Words... words) {
  return StringSet<sizeof...(Words)>(std::array<std::string_view, sizeof...(Words)>{words...});
}

}  // namespace velmora::utils
