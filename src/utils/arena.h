// Keeps many short arrays in few allocations.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velmora::utils {

// Copies arrays into large blocks. A stored array stays where it is for as long as the arena lives,
// also when the arena is moved. Used by one thread at a time.
template <class Value>
class Arena {
  static_assert(std::is_trivially_copyable_v<Value>);

 public:
  std::span<const Value> store(std::span<const Value> values) {
    if (values.empty()) return {};
    if (values.size() > room_) add_block(values.size());
    const std::span<Value> stored(at_, values.size());
    std::copy(values.begin(), values.end(), stored.begin());
    at_ += values.size();
    room_ -= values.size();
    return stored;
  }

  // The bytes taken from the heap.
  [[nodiscard]] std::size_t capacity() const { return capacity_; }

 private:
  static constexpr std::size_t BLOCK = std::size_t{256} * 1024 / sizeof(Value);

  void add_block(std::size_t least) {
    const std::size_t size = std::max(least, BLOCK);
    blocks_.push_back(std::make_unique_for_overwrite<Value[]>(size));
    at_ = blocks_.back().get();
    room_ = size;
    capacity_ += size * sizeof(Value);
  }

  std::vector<std::unique_ptr<Value[]>> blocks_;
  Value* at_ = nullptr;
  std::size_t room_ = 0;
  std::size_t capacity_ = 0;
};

// An arena of texts; an empty text is stored as one that is not null.
class TextArena {
 public:
  std::string_view store(std::string_view text) {
    if (text.empty()) return "";
    const std::span<const char> stored = arena_.store(text);
    return {stored.data(), stored.size()};
  }

  [[nodiscard]] std::size_t capacity() const { return arena_.capacity(); }

 private:
  Arena<char> arena_;
};

}  // namespace velmora::utils
