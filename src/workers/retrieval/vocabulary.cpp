#include "workers/retrieval/vocabulary.h"

#include <cstring>
#include <limits>
#include <stdexcept>

namespace velmora::workers::retrieval::internal {
namespace {

std::uint32_t hash(std::string_view word) {
  std::uint64_t value = word.size();
  const auto mix = [&value](std::uint64_t chunk) {
    value = (value ^ chunk) * 0x9E3779B97F4A7C15u;
    value ^= value >> 32;
  };
  while (word.size() > sizeof(std::uint64_t)) {
    std::uint64_t chunk = 0;
    std::memcpy(&chunk, word.data(), sizeof chunk);
    mix(chunk);
    word.remove_prefix(sizeof chunk);
  }
  std::uint64_t rest = 0;
  std::memcpy(&rest, word.data(), word.size());
  mix(rest);
  return static_cast<std::uint32_t>(value);
}

}  // namespace

Vocabulary::Vocabulary() : slots_(1024) {
  for (const std::string_view word : STOP_WORDS) add(word);
}

WordId Vocabulary::add(std::string_view word) {
  const std::uint32_t hashed = hash(word);
  std::size_t slot = hashed & (slots_.size() - 1);
  while (slots_[slot].next_to_id != 0) {
    const WordId id = slots_[slot].next_to_id - 1;
    if (slots_[slot].hash == hashed && words_[id] == word) return id;
    slot = (slot + 1) & (slots_.size() - 1);
  }
  if (words_.size() == std::numeric_limits<WordId>::max()) {
    throw std::length_error("a vocabulary holds fewer than 2^32 words");
  }
  words_.push_back(texts_.store(word));
  slots_[slot] = {hashed, static_cast<std::uint32_t>(words_.size())};
  if (words_.size() * 2 > slots_.size()) grow();
  return static_cast<WordId>(words_.size() - 1);
}

void Vocabulary::grow() {
  std::vector<Slot> slots(slots_.size() * 2);
  for (const Slot& old : slots_) {
    if (old.next_to_id == 0) continue;
    std::size_t slot = old.hash & (slots.size() - 1);
    while (slots[slot].next_to_id != 0) slot = (slot + 1) & (slots.size() - 1);
    slots[slot] = old;
  }
  slots_ = std::move(slots);
}

}  // namespace velmora::workers::retrieval::internal
