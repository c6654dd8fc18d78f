// Finds what came with the program.
#pragma once

#include <filesystem>

namespace velmora::host::files {

// The file of this name: beside the running program, as it was built, or in `installed`, relative
// to the folder above the program's, as it was installed. One that is in neither is said to be
// beside it.
[[nodiscard]] std::filesystem::path shipped_file(const std::filesystem::path& name,
                                                 const std::filesystem::path& installed);

}  // namespace velmora::host::files
