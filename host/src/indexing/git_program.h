// Git as a child process. Nobody else runs a program.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::indexing {

// Runs `git -C folder ARGUMENTS` and gives what it prints to `take`, piece by piece.
//
// Git runs without the variables of the environment that are its own, with nothing to read and no
// way to ask, fetches nothing, and takes no lock that it can do without. Of the programs that a
// repository's configuration can name those are off that any command may start: the monitor of its
// files, hooks, the check of signatures, helpers for credentials. Those that a command starts for
// itself (--ext-diff, --textconv) are its caller's to turn off. The user's configuration counts.
//
// Throws std::runtime_error when git cannot be run or fails, with git's own words, which say what
// to do about a folder that belongs to somebody else; an error of `take` ends git and reaches the
// caller.
void run_git(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
             const std::function<void(std::string_view)>& take);

}  // namespace velmora::host::indexing
