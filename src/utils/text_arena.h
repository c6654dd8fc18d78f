// Keeps many short texts in few allocations.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace velmora::utils {

// Copies texts into large blocks. A stored text stays where it is for as long as the arena lives,
// also when the arena is moved. Used by one thread at a time.
class TextArena {
 public:
  std::string_view store(std::string_view text) {
    if (text.empty()) return "";
    if (text.size() > room_) add_block(text.size());
    char* stored = at_;
    std::memcpy(stored, text.data(), text.size());
    at_ += text.size();
    room_ -= text.size();
    return {stored, text.size()};
  }

  // The bytes taken from the heap.
  [[nodiscard]] std::size_t capacity() const { return capacity_; }

 private:
  static constexpr std::size_t BLOCK = std::size_t{256} * 1024;

  void add_block(std::size_t least) {
    const std::size_t size = std::max(least, BLOCK);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
    at_ = blocks_.back().get();
    room_ = size;
    capacity_ += size;
  }

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* at_ = nullptr;
  std::size_t room_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace velmora::utils
