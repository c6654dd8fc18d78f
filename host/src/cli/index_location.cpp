#include "cli/index_location.h"

#include <CLI/CLI.hpp>

#include "upkeep/index_place.h"

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
  if (repository) return upkeep::index_of_repository(*repository);
  const fs::path here = fs::current_path();
  if (const std::optional<fs::path> nearest = upkeep::nearest_index(here)) return *nearest;
  return upkeep::index_of_repository(upkeep::folder_to_index(here));
}

}  // namespace velmora::host::cli
