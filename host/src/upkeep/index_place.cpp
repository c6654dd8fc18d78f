#include "upkeep/index_place.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>
#include <system_error>

#include "indexing/work_tree.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;

// As the system's list of users has it, whatever the environment says.
fs::path home_of_user() {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 16384> texts{};
  const int error = ::getpwuid_r(::geteuid(), &entry, texts.data(), texts.size(), &found);
  return error == 0 && found != nullptr ? entry.pw_dir : "";
}

bool is_same_folder(const fs::path& left, const fs::path& right) {
  std::error_code missing;
  return !right.empty() && fs::equivalent(left, right, missing) && !missing;
}

}  // namespace

fs::path index_of_repository(const fs::path& folder) {
  return folder / index::INDEX_FOLDER / "index.db";
}

fs::path writer_lock_of(const fs::path& index) { return index.parent_path() / "lock"; }

fs::path watch_lock_of(const fs::path& index) { return index.parent_path() / "watch.lock"; }

std::optional<fs::path> nearest_index(const fs::path& folder) {
  bool passed_repository = false;
  for (fs::path at = fs::canonical(folder);; at = at.parent_path()) {
    const fs::path index = index_of_repository(at);
    std::error_code unreadable;  // a folder that may not be read has no index for this user
    if (fs::exists(index, unreadable) &&
        !(passed_repository && indexing::work_tree_around(at).has_value())) {
      return index;
    }
    passed_repository = passed_repository || indexing::repository_at(at).has_value();
    if (at == at.root_path()) return std::nullopt;
  }
}

fs::path folder_to_index(const fs::path& folder) {
  const fs::path real = fs::canonical(folder);
  const std::optional<indexing::WorkTree> tree = indexing::work_tree_around(real);
  return tree ? tree->top : real;
}

void require_no_consent(const fs::path& folder) {
  const char* const home = std::getenv("HOME");
  const bool is_home =
      is_same_folder(folder, home == nullptr ? "" : home) || is_same_folder(folder, home_of_user());
  if (!is_home && !is_same_folder(folder, "/")) return;
  throw ConsentError(
      folder.string() + " is " + (is_home ? "your home folder" : "the whole disk") +
      ", which is indexed with --yes only. To index a part of it: velmora index DIR");
}

}  // namespace velmora::host::upkeep
