// The folder `.velmora` of a repository, in which everything stands that this program keeps there.
//
// A repository that somebody else made may bring such a folder along. So nothing in it leads to
// another place: neither the folder nor a file in it may be a link, and a file is a regular one
// with no second name. What is found to be something else is refused by an IndexError that says
// what to remove. Somebody who changes the folder at the very moment of a check owns the repository
// anyway, and nothing is done against them.
//
// Files are made for their owner alone, whatever the umask says.
//
// Everything here may be called from several threads at once.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "velmora/export.h"

namespace velmora::host::index {

// The name of the folder, which stands in the root of the repository.
inline constexpr std::string_view INDEX_FOLDER = ".velmora";

// An open file, closed with it.
class VELMORA_API OpenFile {
 public:
  // Owns `descriptor` from now on.
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  // Leaves `other` without a file.
  OpenFile(OpenFile&& other) noexcept;
  OpenFile& operator=(OpenFile&&) = delete;
  ~OpenFile();

  // Open as long as this lives.
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// The folder of the repository whose index stands at `file`, an absolute path; empty when it is no
// repository's.
[[nodiscard]] VELMORA_API std::filesystem::path repository_of(const std::filesystem::path& file);

// Makes the folder in `repository` unless it is there, and keeps it out of version control.
VELMORA_API void make_index_folder(const std::filesystem::path& repository);

// Tells whether `file` is there. Throws IndexError when it, or the folder when that is a
// `.velmora`, is not what it must be; other folders are the word of whoever named them.
VELMORA_API bool require_plain_file(const std::filesystem::path& file);

// Opens such a file with the O_... `flags`; a file that O_CREAT makes is its owner's alone. Throws
// IndexError as require_plain_file does, and when the file cannot be opened.
[[nodiscard]] VELMORA_API OpenFile open_plain_file(const std::filesystem::path& file, int flags);

// What no copy of a file has: its number in the file system, the moment it was born there and its
// owner. A file that came with a clone, an archive or a backup cannot have foretold them. Where a
// file system keeps no birth times, the other two remain, which can be guessed. Empty when there is
// no file.
[[nodiscard]] VELMORA_API std::string file_mark(const std::filesystem::path& file);

// Whether `mark` is the mark of `file`, and its owner is this user or the system's administrator.
[[nodiscard]] VELMORA_API bool is_marked(const std::filesystem::path& file,
                                         const std::string& mark);

// Notes beside `file` that it was made here.
VELMORA_API void note_made_here(const std::filesystem::path& file);

// Whether that was noted, of this file and by this user or the system's administrator.
[[nodiscard]] VELMORA_API bool is_made_here(const std::filesystem::path& file);

}  // namespace velmora::host::index
