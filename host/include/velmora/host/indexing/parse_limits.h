// What reading one source file may cost.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace velmora::host::indexing {

// Real files take milliseconds; the limits are for those made to be hard. Time is the processor's:
// a program that was stopped, or that a busy machine lets wait, loses no file.
struct ParseLimits {
  std::chrono::microseconds time = std::chrono::seconds(1);               // for any file, ...
  std::chrono::microseconds time_per_mebibyte = std::chrono::seconds(2);  // ... this on top, ...
  std::chrono::microseconds longest = std::chrono::seconds(5);            // ... but no more.
  // What parsing may hold, in bytes: twice what real files of 2 MiB need. The process that parses
  // takes up to 144 MiB more: its code, and what its allocator loses between blocks.
  std::size_t memory = std::size_t{320} * 1024 * 1024;

  // The time for a file of that many bytes.
  [[nodiscard]] std::chrono::microseconds time_for(std::size_t bytes) const {
    const auto size = static_cast<std::chrono::microseconds::rep>(bytes);
    return std::min(longest, time + time_per_mebibyte * size / (1024 * 1024));
  }
};

}  // namespace velmora::host::indexing
