// One settings file. A repository's was written by a stranger.
#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "settings/keys.h"
#include "settings/value.h"

namespace velmora::host::settings {

// A setting is none. The message names the place, the key and what is wrong, fit for a terminal.
class SettingsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The largest file that is read, and the longest line, in bytes. The second bounds how deep names
// with dots nest tables, which the parser builds and destroys by recursion.
inline constexpr std::size_t LARGEST_FILE = std::size_t{64} * 1024;
inline constexpr std::size_t LONGEST_LINE = 1024;

enum class Whose { user, repository };

struct FileSetting {
  const Key* key = nullptr;
  Value value = {};
  std::size_t line = 0;
};

// What the file says, by line; nothing when there is none. A repository's must be a regular file
// and no link. Throws SettingsError for the first line with a fault.
[[nodiscard]] std::vector<FileSetting> read_settings_file(const std::filesystem::path& file,
                                                          Whose whose);

}  // namespace velmora::host::settings
