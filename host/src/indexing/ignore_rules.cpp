#include "indexing/ignore_rules.h"

#include <fnmatch.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <span>
#include <utility>

namespace velmora::host::indexing {
namespace {

std::vector<std::string> split(std::string_view path) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t slash = path.find('/');
    parts.emplace_back(path.substr(0, slash));
    if (slash == std::string_view::npos) return parts;
    path.remove_prefix(slash + 1);
  }
}

bool part_matches(const std::string& pattern, const std::string& name) {
  return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

// Whether all of `names` matches; a part ** stands for any number of names, at the end for one or
// more. As with a single *, only the last ** is ever tried anew: the time is at most quadratic.
bool matches(std::span<const std::string> pattern, std::span<const std::string> names) {
  std::size_t part = 0;
  std::size_t name = 0;
  std::size_t stars = pattern.size();  // the last ** so far, and the name where it ends
  std::size_t stars_end = 0;
  while (name < names.size()) {
    if (part < pattern.size() && pattern[part] == "**") {
      if (part + 1 == pattern.size()) return true;
      stars = part++;
      stars_end = name;
    } else if (part < pattern.size() && part_matches(pattern[part], names[name])) {
      ++part;
      ++name;
    } else if (stars < pattern.size()) {
      part = stars + 1;
      name = ++stars_end;
    } else {
      return false;
    }
  }
  return part == pattern.size();
}

// The line without white space at its end that no backslash protects.
std::string_view trimmed(std::string_view line) {
  while (line.ends_with(' ') && !line.ends_with("\\ ")) line.remove_suffix(1);
  return line;
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
    add(trimmed(line));
    text.remove_prefix(std::min(stop + 1, text.size()));
  }
}

void IgnoreRules::add(std::string_view line) {
  if (line.empty() || line.front() == '#') return;
  Pattern pattern;
  if (line.front() == '!') {
    pattern.negated = true;
    line.remove_prefix(1);
  }
  if (line.ends_with('/')) {
    pattern.folders_only = true;
    line.remove_suffix(1);
  }
  pattern.anchored = line.find('/') != std::string_view::npos;
  if (line.starts_with('/')) line.remove_prefix(1);
  if (line.empty()) return;
  pattern.parts = split(line);
  patterns_.push_back(std::move(pattern));
}

bool IgnoreRules::ignores(std::string_view path, bool is_folder) const {
  const std::vector<std::string> names =
      split(folder_.empty() ? path : path.substr(folder_.size() + 1));
  for (auto pattern = patterns_.rbegin(); pattern != patterns_.rend(); ++pattern) {
    if (pattern->folders_only && !is_folder) continue;
    const bool hit = pattern->anchored ? matches(pattern->parts, names)
                                       : part_matches(pattern->parts.front(), names.back());
    if (hit) return !pattern->negated;
  }
  return above_ != nullptr && above_->ignores(path, is_folder);
}

std::shared_ptr<const IgnoreRules> rules_of(const std::filesystem::path& root,
                                            const std::string& folder,
                                            std::shared_ptr<const IgnoreRules> above) {
  std::ifstream file(root / folder / ".gitignore", std::ios::binary);
  if (!file) return above;
  const std::string text(std::istreambuf_iterator<char>(file), {});
  return std::make_shared<const IgnoreRules>(folder, text, std::move(above));
}

}  // namespace velmora::host::indexing
