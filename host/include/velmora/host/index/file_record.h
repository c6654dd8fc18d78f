// A source file as the index remembers it.
#pragma once

#include <cstdint>
#include <string>

namespace velmora::host::index {

// What was read of the file, and what tells whether it is still the same.
struct FileRecord {
  std::string path;        // relative to the root, forward slashes
  std::string language{};  // of its symbols; empty when the file was left out
  std::string expected{};  // the language that was told of it before it was read
  bool is_header = false;  // that was a guess by the names around it; its content told
  std::int64_t size = -1;  // in bytes; -1: not known
  // When its content was modified, in nanoseconds since 1970; a program may set it at will. -1, as
  // the next, when the times are no proof of what was read: the file is read again.
  std::int64_t modified = -1;
  // When anything about it was changed, which no program can set.
  std::int64_t changed = -1;
  std::uint64_t inode = 0;  // which file of its file system it is
  std::uint64_t hash = 0;   // of the content
  std::string skipped{};    // why it was left out, in a few words; empty: its symbols are in

  bool operator==(const FileRecord&) const = default;
};

}  // namespace velmora::host::index
