// What a source file yields, without an index.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "velmora/host/cli/commands.h"

namespace velmora::host::cli {

// Shows the symbols of `file`: lines, kind, qualified name, signature, and the first line of what
// documents it. Files larger than `largest_file` (in bytes; nothing: what the settings say) are
// left out as when they are indexed.
[[nodiscard]] ExitCode show_file_symbols(const std::filesystem::path& file,
                                         std::optional<std::uintmax_t> largest_file);

}  // namespace velmora::host::cli
