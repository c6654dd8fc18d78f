// Numbers distinct texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace velmora::utils {

// Gives each distinct text a number, 0, 1, ... in the order of first appearance. A flat hash table
// with linear probing, made for millions of look-ups of short texts. The texts are kept elsewhere,
// and must outlive it. Used by one thread at a time.
class Interner {
 public:
  // The text's number; for one that is new, `keep(text)` returns the view of it to hold on to.
  template <class Keep>
  std::uint32_t add(std::string_view text, Keep keep) {
    const std::uint32_t hashed = hash(text);
    std::size_t slot = hashed & (slots_.size() - 1);
    while (slots_[slot].after != 0) {
      const std::uint32_t number = slots_[slot].after - 1;
      if (slots_[slot].hash == hashed && texts_[number] == text) return number;
      slot = (slot + 1) & (slots_.size() - 1);
    }
    if (texts_.size() == std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("there are too many distinct texts to number");
    }
    texts_.push_back(keep(text));
    slots_[slot] = {hashed, static_cast<std::uint32_t>(texts_.size())};
    if (texts_.size() * 2 > slots_.size()) grow();
    return static_cast<std::uint32_t>(texts_.size() - 1);
  }

  [[nodiscard]] std::size_t size() const { return texts_.size(); }
  [[nodiscard]] std::string_view text(std::uint32_t number) const { return texts_[number]; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t after = 0;  // the text's number + 1, or 0 for a free slot
  };

  static std::uint32_t hash(std::string_view text) {
    std::uint64_t value = text.size();
    const auto mix = [&value](std::uint64_t chunk) {
      value = (value ^ chunk) * 0x9E3779B97F4A7C15u;
      value ^= value >> 32;
    };
    for (; text.size() > sizeof(std::uint64_t); text.remove_prefix(sizeof(std::uint64_t))) {
      std::uint64_t chunk = 0;
      std::memcpy(&chunk, text.data(), sizeof chunk);
      mix(chunk);
    }
    std::uint64_t rest = 0;
    if (!text.empty()) std::memcpy(&rest, text.data(), text.size());
    mix(rest);
    return static_cast<std::uint32_t>(value);
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

  std::vector<Slot> slots_ = std::vector<Slot>(1024);
  std::vector<std::string_view> texts_;
};

}  // namespace velmora::utils
