// The memory of a matrix's rows, one behind the other.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

namespace velmora::host::index {

class RowBlock {
 public:
  RowBlock() = default;
  // Throws std::bad_alloc.
  explicit RowBlock(std::size_t bytes);

  [[nodiscard]] std::byte* data() { return bytes_.get(); }
  [[nodiscard]] const std::byte* data() const { return bytes_.get(); }

 private:
  struct Free {
    void operator()(std::byte* bytes) const noexcept { std::free(bytes); }
  };
  std::unique_ptr<std::byte[], Free> bytes_;
};

}  // namespace velmora::host::index
