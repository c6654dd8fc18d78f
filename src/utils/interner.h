// Numbers distinct texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "utils/text_hash.h"

namespace velmora::utils {

// Gives each distinct text a number, 0, 1, ... in the order of first appearance. A flat hash table
// with linear probing, made for millions of look-ups of short texts. The texts are kept elsewhere,
// and must outlive it. Any number of threads may read it, or one change it.
class Interner {
 public:
  static constexpr std::uint32_t NONE = std::numeric_limits<std::uint32_t>::max();

  // The text's number; for one that is new, `keep(text)` returns the view of it to hold on to.
  template <class Keep>
  std::uint32_t add(std::string_view text, Keep keep) {
    const auto hashed = static_cast<std::uint32_t>(hash_(text));
    const std::size_t slot = slot_of(text, hashed);
    if (slots_[slot].after != 0) return slots_[slot].after - 1;
    if (texts_.size() == NONE) {
      throw std::length_error("there are too many distinct texts to number");
    }
    texts_.push_back(keep(text));
    slots_[slot] = {hashed, static_cast<std::uint32_t>(texts_.size())};
    if (texts_.size() * 2 > slots_.size()) grow();
    return static_cast<std::uint32_t>(texts_.size() - 1);
  }

  // The same for a text that stays where it is.
  std::uint32_t add(std::string_view text) {
    return add(text, [](std::string_view kept) { return kept; });
  }

  // The text's number, or NONE.
  [[nodiscard]] std::uint32_t find(std::string_view text) const {
    return slots_[slot_of(text, static_cast<std::uint32_t>(hash_(text)))].after - 1;
  }

  [[nodiscard]] std::size_t size() const { return texts_.size(); }
  [[nodiscard]] std::string_view text(std::uint32_t number) const { return texts_[number]; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t after = 0;  // the text's number + 1, or 0 for a free slot
  };

  // Where the text is, or belongs.
  [[nodiscard]] std::size_t slot_of(std::string_view text, std::uint32_t hashed) const {
    std::size_t slot = hashed & (slots_.size() - 1);
    while (slots_[slot].after != 0 &&
           (slots_[slot].hash != hashed || texts_[slots_[slot].after - 1] != text)) {
      slot = (slot + 1) & (slots_.size() - 1);
    }
    return slot;
  }

  void grow() {
    std::vector<Slot> slots(slots_.size() * 2);
    for (const Slot& old : slots_) {
      if (old.after == 0) continue;
      std::size_t slot = old.hash & (slots.size() - 1);
      while (slots[slot].after != 0) slot = (slot + 1) & (slots.size() - 1);
      slots[slot] = old;
    }
    slots_ = std::move(slots);
  }

  TextHash hash_;
  std::vector<Slot> slots_ = std::vector<Slot>(1024);
  std::vector<std::string_view> texts_;
};

}  // namespace velmora::utils
