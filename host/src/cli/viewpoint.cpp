#include "cli/viewpoint.h"

#include <system_error>

#include "velmora/host/index/index_folder.h"

namespace velmora::host::cli {

namespace fs = std::filesystem;

browse::Viewpoint viewpoint_of(const fs::path& file) {
  const fs::path root = index::repository_of(file);
  if (root.empty()) return {};
  std::error_code unknown;  // a folder that is gone is nowhere
  return {.root = fs::weakly_canonical(root, unknown), .folder = fs::current_path(unknown)};
}

}  // namespace velmora::host::cli
