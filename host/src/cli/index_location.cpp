#include "cli/index_location.h"

#include <CLI/CLI.hpp>
#include <stdexcept>

#include "upkeep/index_place.h"

namespace velmora::host::cli {

namespace fs = std::filesystem;

void IndexLocation::add_to(CLI::App& command) {
  CLI::Option* file =
      command.add_option("--index", index, "The index to ask, in place of the nearest")
          ->type_name("FILE");
  command.add_option("--repo", repository, "Ask about this folder, as if it were the current one")
      ->type_name("DIR")
      ->excludes(file);
}

fs::path IndexLocation::file() const {
  if (index) return fs::absolute(*index).lexically_normal();
  const fs::path folder = repository ? fs::path(*repository) : fs::current_path();
  const fs::file_status status = fs::status(folder);
  if (!fs::exists(status)) throw std::runtime_error(folder.string() + " does not exist");
  if (!fs::is_directory(status)) throw std::runtime_error(folder.string() + " is not a folder");
  if (const std::optional<fs::path> nearest = upkeep::nearest_index(folder)) return *nearest;
  return upkeep::index_of_repository(upkeep::folder_to_index(folder));
}

}  // namespace velmora::host::cli
