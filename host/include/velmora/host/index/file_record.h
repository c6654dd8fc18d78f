// A source file as the index remembers it.
#pragma once

#include <cstdint>
#include <string>

namespace velmora::host::index {

struct FileRecord {
  std::string path;      // relative to the root, forward slashes
  std::string language;  // of its symbols; empty when the file was left out
  std::string expected;  // the language that the names of files told before this one was read
  std::int64_t size = -1;
  // When it was modified, in nanoseconds since 1970; -1 when size and time are no proof of what
  // was read: the file is read again.
  std::int64_t modified = -1;
  std::uint64_t hash = 0;  // of the content
  std::string skipped;     // why it was left out, in a few words; empty: its symbols are in

  bool operator==(const FileRecord&) const = default;
};

}  // namespace velmora::host::index
