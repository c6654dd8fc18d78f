// Hashes of contents: the same on every machine, and kept in indexes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora::host::index {

[[nodiscard]] std::uint64_t content_hash(std::string_view content, std::uint64_t seed = 0);

// Wide enough that two contents with one hash need not be thought of.
[[nodiscard]] std::array<std::byte, 16> wide_content_hash(std::string_view content);

}  // namespace velmora::host::index
