#include "indexing/outer_rules.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

#include "files/user_folder.h"
#include "indexing/bounded_file.h"
#include "indexing/git_program.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

fs::path users_file() {
  std::string setting;
  try {
    // Asked at the root of the file system, so that no repository has a say.
    run_git("/", {"config", "-z", "--type=path", "--get", "core.excludesFile"},
            [&](std::string_view text) { setting += text; });
    setting.resize(std::min(setting.find('\0'), setting.size()));
    const fs::path file = setting;
    return file.is_absolute() ? file : fs::path();
  } catch (const std::runtime_error&) {
    // There is no git, or it is not set.
  }
  const fs::path folder = files::user_config_folder();
  return folder.empty() ? folder : folder / "git/ignore";
}

// The rules in a file for what is in `folder`, with those `above`.
std::shared_ptr<const IgnoreRules> with_file(const fs::path& path, Links links, std::string folder,
                                             std::shared_ptr<const IgnoreRules> above) {
  const BoundedFile file = read_bounded(AT_FDCWD, path.string(), LARGEST_IGNORE_FILE, links);
  if (file.state != BoundedFile::State::read) return above;
  return std::make_shared<const IgnoreRules>(std::move(folder), file.text, std::move(above));
}

}  // namespace

OuterRules outer_rules(const WorkTree& tree, const std::string& prefix) {
  OuterRules outer;
  outer.rules = with_file(users_file(), Links::follow, "", nullptr);
  outer.rules =
      with_file(tree.common_folder / "info/exclude", Links::refuse, "", std::move(outer.rules));
  std::string folder;
  std::uint64_t steps = 0;
  for (std::size_t at = 0; at < prefix.size() && !outer.ignore_all; at = folder.size() + 1) {
    outer.rules =
        with_file(tree.top / folder / ".gitignore", Links::refuse, folder, std::move(outer.rules));
    folder = prefix.substr(0, prefix.find('/', at));
    outer.ignore_all = outer.rules && outer.rules->ignores(folder, true, steps);
  }
  return outer;
}

}  // namespace velmora::host::indexing
