#include "files/user_folder.h"

#include <cstdlib>

namespace velmora::host::files {
namespace {

namespace fs = std::filesystem;

// The path that a variable holds; empty when it holds none that is absolute.
fs::path folder_in(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && fs::path(value).is_absolute() ? value : fs::path();
}

}  // namespace

fs::path user_config_folder() {
  if (fs::path folder = folder_in("XDG_CONFIG_HOME"); !folder.empty()) return folder;
  const fs::path home = folder_in("HOME");
  return home.empty() ? home : home / ".config";
}

}  // namespace velmora::host::files
