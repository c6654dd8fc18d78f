#include "indexing/script_names.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace velmora::host::indexing {
namespace {

// Nobody writes longer ones, in bytes.
constexpr std::size_t LONGEST_CHAIN = 1024;

bool is_plain(std::string_view text, std::string_view others) {
  return std::ranges::all_of(text, [&](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (static_cast<unsigned char>(c) & 0x80U) != 0 || others.find(c) != others.npos;
  });
}

}  // namespace

std::string script_module(std::string_view path) {
  constexpr std::string_view INDEX = "index";
  constexpr std::string_view ROOTS[] = {"src", "lib", "dist"};
  const std::size_t slash = path.rfind('/');
  std::string_view file = path.substr(slash == path.npos ? 0 : slash + 1);
  file.remove_prefix(std::min(file.find_first_not_of('.'), file.size()));
  file = file.substr(0, file.find('.'));
  if (file != INDEX || slash == path.npos) return std::string(file);
  for (std::string_view folders = path.substr(0, slash);;) {
    const std::size_t start = folders.rfind('/');
    const std::string_view folder = folders.substr(start == folders.npos ? 0 : start + 1);
    if (std::ranges::find(ROOTS, folder) == std::end(ROOTS)) return std::string(folder);
    if (start == folders.npos) return std::string(INDEX);
    folders = folders.substr(0, start);
  }
}

std::optional<PropertyName> property_name(TSNode node, const Source& source) {
  constexpr std::pair<std::string_view, bool> PREFIXES[] = {// and whether they are global
                                                            {"module.exports", false},
                                                            {"exports", false},
                                                            {"window", true},
                                                            {"globalThis", true},
                                                            {"global", true}};
  if (source.raw(node).size() > LONGEST_CHAIN) return std::nullopt;
  const std::string text = source.line(node);
  if (!is_plain(text, "._$#") || text == "this" || text.starts_with("this.")) return std::nullopt;
  PropertyName name;
  std::string_view rest = text;
  for (const auto& [prefix, global] : PREFIXES) {
    if (!rest.starts_with(prefix)) continue;
    if (rest.size() > prefix.size() && rest[prefix.size()] != '.') continue;
    name.global = global;
    rest.remove_prefix(std::min(prefix.size() + 1, rest.size()));
    break;
  }
  while (!rest.empty()) {
    const std::size_t stop = std::min(rest.find('.'), rest.size());
    const std::string_view part = rest.substr(0, stop);
    rest.remove_prefix(std::min(stop + 1, rest.size()));
    if (part == "prototype" && !name.text.empty()) {
      name.inherited = true;
      continue;
    }
    if (!name.text.empty()) name.text += '.';
    name.text += part;
  }
  return name;
}

std::optional<std::string> key_name(TSNode key, const Source& source) {
  std::string text = source.line(key);
  const std::string_view type = type_of(key);
  if (type == "number") return std::nullopt;
  if (type == "string") {
    text = text.substr(1, text.size() - 2);
    if (text.empty() || !is_plain(text, "_$-")) return std::nullopt;
  }
  return text;
}

}  // namespace velmora::host::indexing
