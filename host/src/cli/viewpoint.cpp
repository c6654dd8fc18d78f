#include "cli/viewpoint.h"

#include <system_error>

#include "velmora/host/index/index_folder.h"

namespace velmora::host::cli {

namespace fs = std::filesystem;

browse::Viewpoint viewpoint_of(const fs::path& file) {
  const fs::path root = index::repository_of(fs::absolute(file).lexically_normal());
  if (root.empty()) return {};
  std::error_code unknown;  // a folder that is gone is nowhere
  browse::Viewpoint from{.root = fs::weakly_canonical(root, unknown)};
  const fs::path folder = fs::canonical(fs::current_path(unknown), unknown);
  const std::string below = folder.lexically_relative(from.root).generic_string();
  const bool outside = below.empty() || below == "." || below == ".." || below.starts_with("../");
  if (!outside) from.folder = below;
  return from;
}

}  // namespace velmora::host::cli
