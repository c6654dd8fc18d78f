#include "cli/index_location.h"

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <system_error>

namespace velmora::host::cli {

namespace fs = std::filesystem;

void IndexLocation::add_to(CLI::App& command) {
  CLI::Option* file = command.add_option("--index", index, "The index to ask")->type_name("FILE");
  command
      .add_option("--repo", repository,
                  "Ask the index of the repository in this folder. Without --index and --repo it is"
                  " that of the current folder or the nearest above it")
      ->type_name("DIR")
      ->excludes(file);
}

fs::path IndexLocation::file() const {
  if (index) return *index;
  if (repository) return index_of_repository(*repository);
  return nearest_index(fs::current_path());
}

fs::path index_of_repository(const fs::path& folder) { return folder / ".velmora" / "index.db"; }

fs::path nearest_index(const fs::path& folder) {
  fs::path at = fs::absolute(folder);
  while (true) {
    std::error_code unreadable;  // a folder that may not be read has no index for this user
    if (fs::exists(index_of_repository(at), unreadable)) return index_of_repository(at);
    if (at == at.parent_path()) break;
    at = at.parent_path();
  }
  throw std::runtime_error("There is no index in " + folder.string() +
                           " or a folder above it. Make one with: velmora index " +
                           folder.string());
}

}  // namespace velmora::host::cli
