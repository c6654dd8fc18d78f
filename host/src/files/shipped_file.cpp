#include "files/shipped_file.h"

#include <system_error>

namespace velmora::host::files {

namespace fs = std::filesystem;

fs::path shipped_file(const fs::path& name, const fs::path& installed) {
  std::error_code unknown;  // without /proc: relative to the working folder
  const fs::path folder = fs::read_symlink("/proc/self/exe", unknown).parent_path();
  const fs::path beside = folder / name;
  const fs::path apart = folder.parent_path() / installed / name;
  std::error_code unreadable;
  return !fs::exists(beside, unreadable) && fs::exists(apart, unreadable) ? apart : beside;
}

}  // namespace velmora::host::files
