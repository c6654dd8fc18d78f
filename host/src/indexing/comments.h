// The comments of a file, and what they document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "indexing/language.h"
#include "indexing/source.h"

namespace velmora::host::indexing {

class Comments {
 public:
  // Both have to outlive it.
  Comments(const Language& language, const Source& source);

  // The prose of the comment right above, or in front of, a place of the file: a block comment, or
  // line comments one below the other. Nothing when it is a licence or speaks to tools only.
  [[nodiscard]] std::optional<std::string> above(std::uint32_t place) const;

  // From now on a comment that begins before `place` documents nothing.
  void start_at(std::uint32_t place) { start_ = place; }

 private:
  [[nodiscard]] std::string_view text(Range range) const;
  [[nodiscard]] bool adjoins(std::uint32_t from, std::uint32_t to) const;
  [[nodiscard]] bool stands_first(std::uint32_t place) const;
  [[nodiscard]] bool is_top(std::uint32_t place) const;

  const Language& language_;
  const Source& source_;
  const std::size_t first_;  // the place of the first character
  std::uint32_t start_ = 0;
};

}  // namespace velmora::host::indexing
