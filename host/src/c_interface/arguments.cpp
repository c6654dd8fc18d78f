#include "c_interface/arguments.h"

namespace velmora::host::c_interface {
namespace {

[[noreturn]] void refuse(const char* name, const std::string& fault) {
  throw std::invalid_argument("The argument " + std::string(name) + " " + fault);
}

}  // namespace

void require(bool there, const char* name) {
  if (!there) refuse(name, "is null");
}

std::string_view text_of(velmora_string text) {
  return text.data == nullptr ? std::string_view() : std::string_view(text.data, text.size);
}

std::optional<std::string_view> optional_text(velmora_string text, const char* name) {
  if (text.data != nullptr) return std::string_view(text.data, text.size);
  if (text.size != 0) refuse(name, "has a size but no text");
  return std::nullopt;
}

std::string_view required_text(velmora_string text, const char* name) {
  const std::optional<std::string_view> given = optional_text(text, name);
  if (!given) refuse(name, "is no text");
  return *given;
}

std::optional<std::filesystem::path> optional_path(velmora_string text, const char* name) {
  const std::optional<std::string_view> given = optional_text(text, name);
  if (!given) return std::nullopt;
  if (given->empty()) refuse(name, "is an empty path");
  if (given->find('\0') != given->npos) refuse(name, "is a path with a NUL in it");
  return std::filesystem::path(*given);
}

std::filesystem::path required_path(velmora_string text, const char* name) {
  const std::optional<std::filesystem::path> path = optional_path(text, name);
  if (!path) refuse(name, "is no text");
  return *path;
}

std::size_t size_of(const void* given, const char* name) {
  require(given != nullptr, name);
  std::size_t size = 0;
  std::memcpy(&size, given, sizeof(size));
  const bool cuts_a_field = size % alignof(std::size_t) != 0;
  if (size < sizeof(size) || size > LARGEST_STRUCT || cuts_a_field) {
    refuse(name, "does not say its size: VELMORA_INIT sets it");
  }
  return size;
}

std::size_t size_of(const void* given, std::size_t known, const char* name) {
  const std::size_t size = size_of(given, name);
  const auto* const bytes = static_cast<const unsigned char*>(given);
  for (std::size_t i = known; i < size; ++i) {
    if (bytes[i] != 0) refuse(name, "has fields that this version of the library does not know");
  }
  return size;
}

}  // namespace velmora::host::c_interface
