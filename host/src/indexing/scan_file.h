// One source file, as a scan of its repository reads it.
#pragma once

#include <filesystem>
#include <string>

#include "velmora/host/indexing/repository_scan.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::indexing {

// Reads and parses the file `path` (relative, forward slashes) under `root`, whether or not a scan
// would find it there: what git ignores or the rules leave out has symbols, too. What it takes for
// C or C++ is told by the files of the git work tree that begins at `root`, or else by those in the
// file's own folder. Its record says why it has no symbols. Throws std::runtime_error when it is
// not there, and as RepositoryScan does.
[[nodiscard]] ScannedFile scan_file(const std::filesystem::path& root, const std::string& path,
                                    const SourceRules& rules);

}  // namespace velmora::host::indexing
