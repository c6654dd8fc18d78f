#include "files/shipped_file.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace velmora::host::files {
namespace {

namespace fs = std::filesystem;

// How far a folder of libraries is below the one that is installed into: lib/x86_64-linux-gnu.
constexpr int LEVELS = 2;

// The program or the library that this code stands in. Without /proc the name of a program is not
// known: its file is then looked for in the working folder.
fs::path this_object() {
  static const char mark = 0;
  Dl_info info{};
  void* map = nullptr;
  std::error_code unknown;
  if (::dladdr1(&mark, &info, &map, RTLD_DL_LINKMAP) != 0) {
    const char* const name = static_cast<const link_map*>(map)->l_name;
    if (*name != '\0') {
      const fs::path real = fs::canonical(name, unknown);
      return unknown ? fs::path(name) : real;
    }
  }
  return fs::read_symlink("/proc/self/exe", unknown);
}

bool may_be_used(const fs::path& file, const fs::path& object) {
  struct stat found {};
  struct stat own {};
  if (::stat(file.c_str(), &found) != 0) return false;
  if (found.st_uid == 0 || found.st_uid == ::geteuid()) return true;
  return ::stat(object.c_str(), &own) == 0 && own.st_uid == found.st_uid;
}

fs::path in_home(const fs::path& home, const fs::path& name, const fs::path& installed) {
  std::error_code unreadable;
  const fs::path apart = home / installed / name;
  return fs::exists(apart, unreadable) ? apart : home / name;
}

}  // namespace

fs::path shipped_file(const fs::path& name, const fs::path& installed) {
  const char* const home = ::secure_getenv("VELMORA_HOME");
  if (home != nullptr && *home != '\0') return in_home(home, name, installed);
  return file_around(this_object(), name, installed);
}

fs::path file_around(const fs::path& object, const fs::path& name, const fs::path& installed) {
  const fs::path folder = object.parent_path();
  fs::path beside = folder / name;
  if (may_be_used(beside, object)) return beside;
  fs::path prefix = folder;
  for (int level = 0; level <= LEVELS; ++level, prefix = prefix.parent_path()) {
    fs::path file = prefix / installed / name;
    if (may_be_used(file, object)) return file;
  }
  fs::path configured = fs::path(VELMORA_PREFIX) / installed / name;
  return may_be_used(configured, object) ? configured : beside;
}

}  // namespace velmora::host::files
