// Git as a child process.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::train {

// Runs `git -C repository ARGUMENTS` and gives what it prints to `take`, piece by piece. Its
// complaints go to standard error. Throws std::runtime_error when git cannot be run or fails; an
// error of `take` ends git and reaches the caller.
void run_git(const std::filesystem::path& repository, const std::vector<std::string>& arguments,
             const std::function<void(std::string_view)>& take);

}  // namespace velmora::train
