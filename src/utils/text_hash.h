// Hashes texts that others chose.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string_view>

namespace velmora::utils {

// A hash function that each process draws anew: nobody who writes a repository can choose names
// beforehand that crowd in one place of a table. Eight bytes at a time are folded in by a
// multiplication of 64 by 64 bits whose both factors depend on secrets. Use what it gives for
// places in tables alone: it differs from run to run, so no answer may depend on it.
class TextHash {
 public:
  using Secrets = std::array<std::uint64_t, 4>;

  static Secrets draw() {
    std::random_device random;
    Secrets secrets;
    for (std::uint64_t& secret : secrets) {
      secret = (std::uint64_t{random()} << 32 | random()) | 1;  // odd: a factor that loses nothing
    }
    return secrets;
  }

  explicit TextHash(const Secrets& secrets = of_process()) : secrets_(secrets) {}

  [[nodiscard]] std::size_t operator()(std::string_view text) const {
    std::uint64_t value = secrets_[0] + text.size() * secrets_[1];
    for (; text.size() > sizeof(std::uint64_t); text.remove_prefix(sizeof(std::uint64_t))) {
      std::uint64_t chunk = 0;
      std::memcpy(&chunk, text.data(), sizeof chunk);
      value = fold(value ^ chunk, secrets_[2]);
    }
    std::uint64_t rest = 0;
    if (!text.empty()) std::memcpy(&rest, text.data(), text.size());
    return static_cast<std::size_t>(fold(value ^ rest, secrets_[3]));
  }

 private:
  static const Secrets& of_process() {
    static const Secrets secrets = draw();
    return secrets;
  }

  // The two halves of the product, one upon the other.
  static std::uint64_t fold(std::uint64_t left, std::uint64_t right) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{left} * right;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
  }

  Secrets secrets_;
};

}  // namespace velmora::utils
