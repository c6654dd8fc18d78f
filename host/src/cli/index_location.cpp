#include "cli/index_location.h"

#include <stdexcept>
#include <system_error>

namespace velmora::host::cli {

namespace fs = std::filesystem;

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
