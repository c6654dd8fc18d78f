// Reads text files line by line, compressed by gzip or not.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string_view>

namespace velmora::train {

// Calls `take` with each line, without its end, and its number from 1. A line lives for its call.
// What `take` throws ends the reading and is told with the file and the line, as
// std::runtime_error; so is a file that is missing, damaged or cut short.
void read_gzip_lines(const std::filesystem::path& file,
                     const std::function<void(std::string_view, std::size_t)>& take);

}  // namespace velmora::train
