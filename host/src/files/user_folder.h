// Where a user keeps the settings of their programs.
#pragma once

#include <filesystem>

namespace velmora::host::files {

// $XDG_CONFIG_HOME, or ~/.config where that is not set; empty when neither is an absolute path.
[[nodiscard]] std::filesystem::path user_config_folder();

}  // namespace velmora::host::files
