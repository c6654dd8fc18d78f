// What comes in through the C interface and what goes out, checked.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "velmora/velmora.h"

namespace velmora::host::c_interface {

// The largest size that any struct will ever have: more is none that somebody set.
inline constexpr std::size_t LARGEST_STRUCT = 4096;

// Throws std::invalid_argument, which names the argument, unless there is something.
void require(bool there, const char* name);

template <class Type>
Type& required(Type* pointer, const char* name) {
  require(pointer != nullptr, name);
  return *pointer;
}

// "" of no text.
[[nodiscard]] std::string_view text_of(velmora_string text);

// The text of an argument, which may be no text; that of a wrong one is refused.
[[nodiscard]] std::optional<std::string_view> optional_text(velmora_string text, const char* name);
[[nodiscard]] std::string_view required_text(velmora_string text, const char* name);
[[nodiscard]] std::optional<std::filesystem::path> optional_path(velmora_string text,
                                                                 const char* name);
[[nodiscard]] std::filesystem::path required_path(velmora_string text, const char* name);

// Text that goes out. Lives as long as the string.
[[nodiscard]] inline velmora_string string_of(std::string_view text) {
  return {text.data(), text.size()};
}

// The size that the struct at `given` says it has. Throws std::invalid_argument for one that cannot
// be, and for fields that the library does not know and that are not zero.
[[nodiscard]] std::size_t size_of(const void* given, std::size_t known, const char* name);
// Only that it can be.
[[nodiscard]] std::size_t size_of(const void* given, const char* name);

// A struct of the caller's: what it lacks is as in `standard`, and so is all of none.
template <class Struct>
[[nodiscard]] Struct taken(const Struct* given, const char* name, Struct standard = {}) {
  if (given == nullptr) return standard;
  const std::size_t size = size_of(given, sizeof(Struct), name);
  std::memcpy(&standard, given, std::min(size, sizeof(Struct)));
  return standard;
}

// Writes as much of `value` as the caller's struct has room for, but for its size.
template <class Struct>
void hand_out(const Struct& value, Struct* out, const char* name) {
  const std::size_t size = size_of(out, name);
  const auto bytes = reinterpret_cast<const unsigned char*>(&value);
  if (size <= sizeof(size)) return;
  std::memcpy(reinterpret_cast<unsigned char*>(out) + sizeof(size), bytes + sizeof(size),
              std::min(size, sizeof(Struct)) - sizeof(size));
}

}  // namespace velmora::host::c_interface
