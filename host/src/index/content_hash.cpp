#include "index/content_hash.h"

#include <cstring>

// The functions themselves, so that the program needs no other library where it runs.
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace velmora::host::index {

std::uint64_t content_hash(std::string_view content, std::uint64_t seed) {
  return XXH3_64bits_withSeed(content.data(), content.size(), seed);
}

std::array<std::byte, 16> wide_content_hash(std::string_view content) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(content.data(), content.size()));
  std::array<std::byte, 16> hash{};
  static_assert(sizeof(hash) == sizeof(canonical.digest));
  std::memcpy(hash.data(), canonical.digest, sizeof(hash));
  return hash;
}

}  // namespace velmora::host::index
