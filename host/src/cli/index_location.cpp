#include "cli/index_location.h"

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <system_error>

#include "cli/output.h"
#include "velmora/host/index/index_folder.h"

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

std::shared_ptr<index::Index> open_index(const IndexLocation& location) {
  const fs::path file = location.file();
  auto index = index::Index::open(file);
  if (!location.index && !index->made_here()) {
    tell("The index at " + file.string() +
         " was not made here by you, and says what its maker wanted. Make it anew with: velmora"
         " index " +
         file.parent_path().parent_path().string());
  }
  return index;
}

fs::path index_of_repository(const fs::path& folder) {
  return folder / index::INDEX_FOLDER / "index.db";
}

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
