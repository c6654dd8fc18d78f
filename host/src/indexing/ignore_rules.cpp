#include "indexing/ignore_rules.h"

#include <algorithm>
#include <utility>

namespace velmora::host::indexing {
namespace {

// The line without the spaces at its end that no backslash protects.
std::string_view trimmed(std::string_view line) {
  std::size_t spaces = line.size();  // where those begin that nothing follows
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] == ' ') {
      spaces = std::min(spaces, at);
      continue;
    }
    if (line[at] == '\\') ++at;
    if (at == line.size()) return line;
    spaces = line.size();
  }
  return line.substr(0, spaces);
}

}  // namespace

IgnoreRules::IgnoreRules(std::string folder, std::string_view text,
                         std::shared_ptr<const IgnoreRules> above)
    : folder_(std::move(folder)), above_(std::move(above)) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  while (!text.empty()) {
    const std::size_t stop = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, stop);
    if (line.ends_with('\r')) line.remove_suffix(1);
    add(trimmed(line.substr(0, line.find('\0'))));
    text.remove_prefix(std::min(stop + 1, text.size()));
  }
}

void IgnoreRules::add(std::string_view line) {
  if (line.starts_with('#')) return;
  const bool negated = line.starts_with('!');
  if (negated) line.remove_prefix(1);
  const bool folders_only = line.ends_with('/');
  if (folders_only) line.remove_suffix(1);
  const bool anchored = line.find('/') != std::string_view::npos;
  if (line.starts_with('/')) line.remove_prefix(1);
  if (line.empty()) return;
  patterns_.push_back({Glob(line), anchored, folders_only, negated});
}

bool IgnoreRules::ignores(std::string_view path, bool is_folder, std::uint64_t& steps) const {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  for (const IgnoreRules* rules = this; rules != nullptr; rules = rules->above_.get()) {
    ++steps;
    const std::string_view below =
        rules->folder_.empty() ? path : path.substr(rules->folder_.size() + 1);
    for (auto pattern = rules->patterns_.rbegin(); pattern != rules->patterns_.rend(); ++pattern) {
      if (pattern->folders_only && !is_folder) {
        ++steps;
      } else if (pattern->glob.matches(pattern->anchored ? below : name, steps)) {
        return !pattern->negated;
      }
    }
  }
  return false;
}

}  // namespace velmora::host::indexing
