// From where the user of a command names paths of an index.
#pragma once

#include <filesystem>

#include "browse/lookup.h"

namespace velmora::host::cli {

// The tree of the index at `file`, an absolute path, and the current folder.
[[nodiscard]] browse::Viewpoint viewpoint_of(const std::filesystem::path& file);

}  // namespace velmora::host::cli
