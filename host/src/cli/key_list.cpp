#include "cli/key_list.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "settings/keys.h"

namespace velmora::host::cli {
namespace {

using settings::Files;
using settings::Key;
using settings::Type;

std::string type_text(const Key& key) {
  const auto range = [&] {
    return std::to_string(static_cast<std::int64_t>(key.least)) + ".." +
           std::to_string(static_cast<std::int64_t>(key.most));
  };
  switch (key.type) {
    case Type::integer:
      return range();
    case Type::number:
      return range() + ", 0.5";
    case Type::boolean:
      return "true, false";
    case Type::globs:
      return "list";
    case Type::languages:
      return "table";
    case Type::text:
      break;
  }
  return "text";
}

}  // namespace

std::string key_list() {
  const auto padded = [](std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text + " ";
  };
  std::string list =
      padded("  Key", 33) + padded("Default", 7) + padded("Value", 16) + "In   Meaning\n";
  for (const Key& key : settings::all_keys()) {
    const char* const places = key.files == Files::both   ? "eru"
                               : key.files == Files::user ? "e u"
                                                          : "e  ";
    list += padded("  " + std::string(key.name), 33) + padded(std::string(key.standard), 7) +
            padded(type_text(key), 16) + places + "  " + std::string(key.meaning) + "\n";
  }
  return list;
}

}  // namespace velmora::host::cli
