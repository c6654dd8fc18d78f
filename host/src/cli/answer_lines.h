// Answers for programs that take lines.
#pragma once

#include <filesystem>
#include <string>

#include "browse/answer.h"

namespace velmora::host::cli {

// The paths below name the files of the repository at `root` as they are reached from the folder
// `from`, or as the index does where `root` is empty.

// The files of the hits, best first, each once. Each ends with a line break, and is shown as a
// terminal may show it; or with a NUL, and is as it is.
[[nodiscard]] std::string answer_files(const browse::Answer& answer,
                                       const std::filesystem::path& root,
                                       const std::filesystem::path& from, bool null);

// PATH:LINE:COLUMN:TEXT for each hit. The text is the line of the source, and the column, in bytes
// from 1, that of the name, where the answer has the line that was indexed; otherwise the signature
// or the name.
[[nodiscard]] std::string answer_vimgrep(const browse::Answer& answer,
                                         const std::filesystem::path& root,
                                         const std::filesystem::path& from);

}  // namespace velmora::host::cli
