#include "indexing/path_rules.h"

#include <algorithm>
#include <stdexcept>

#include "indexing/glob.h"
#include "indexing/language_names.h"

namespace velmora::host::indexing {
namespace {

void check_work(std::uint64_t steps, std::uint64_t most_steps) {
  if (steps <= most_steps) return;
  throw std::runtime_error(
      "the globs of the settings take too much work here: fewer stars, or fewer globs, take less");
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line) += '\n';
  return text;
}

bool leads_up(std::string_view glob) {
  while (!glob.empty()) {
    const std::size_t stop = std::min(glob.find('/'), glob.size());
    if (glob.substr(0, stop) == "..") return true;
    glob.remove_prefix(std::min(stop + 1, glob.size()));
  }
  return false;
}

}  // namespace

LeftOut::LeftOut(const std::vector<std::string>& globs, std::uint64_t most_steps)
    : is_empty_(globs.empty()), rules_("", joined(globs), nullptr), most_steps_(most_steps) {}

bool LeftOut::matches(std::string_view path, bool is_folder) {
  if (is_empty_) return false;
  const bool left_out = rules_.ignores(path, is_folder, steps_);
  check_work(steps_, most_steps_);
  if (left_out) found_.emplace(path, is_folder);
  return left_out;
}

bool LeftOut::covers(std::string_view path, bool is_folder) {
  if (is_empty_) return false;
  // From the top down: a path may be as deep as the system lets it be long.
  for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
       slash = path.find('/', slash + 1)) {
    const std::string_view folder = path.substr(0, slash);
    auto known = folders_.find(folder);
    if (known == folders_.end()) {
      known = folders_.emplace(std::string(folder), matches(folder, true)).first;
    }
    if (known->second) return true;
  }
  return matches(path, is_folder);
}

ToldLanguages::ToldLanguages(std::span<const LanguageRule> rules) {
  for (const LanguageRule& rule : rules) {
    const std::string_view language = built_in(rule.language);
    if (language.empty()) continue;
    rules_.push_back({IgnoreRules("", rule.glob, nullptr), language});
  }
}

std::string_view ToldLanguages::of(std::string_view path) {
  for (auto rule = rules_.rbegin(); rule != rules_.rend(); ++rule) {
    const bool is_told = rule->glob.ignores(path, false, steps_);
    check_work(steps_, LeftOut::MOST_STEPS);
    if (is_told) return rule->language;
  }
  return {};
}

std::string fault_of_glob(std::string_view glob, bool negated) {
  const bool is_control =
      std::ranges::any_of(glob, [](unsigned char c) { return c < ' ' || c == 0x7F; });
  if (is_control) return "has a control character in it";
  if (glob.starts_with('#')) return "begins with #, which stands for itself as \\# only";
  const bool has_mark = glob.starts_with('!');
  if (has_mark && !negated) return "begins with !, which stands for itself as \\! only";
  if (has_mark) glob.remove_prefix(1);
  if (glob.find_first_not_of(" /") == std::string_view::npos) return "is empty";
  if (leads_up(glob)) return "leads out of the repository";
  if (!negated && glob.ends_with('/')) return "is of folders; with ** at its end it is of files";
  return Glob(glob).is_possible() ? "" : "matches nothing: a [ is not closed, or a \\ is the last";
}

}  // namespace velmora::host::indexing
