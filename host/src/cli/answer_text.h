// Answers for people.
#pragma once

#include <filesystem>
#include <string>

#include "browse/answer.h"
#include "cli/terminal.h"

namespace velmora::host::cli {

// The answer's remarks, a block of lines for each hit, and the note last. Places link to files
// below `root`.
[[nodiscard]] std::string answer_text(const browse::Answer& answer,
                                      const browse::AnswerDetails& details,
                                      const std::filesystem::path& root, const Look& look);

}  // namespace velmora::host::cli
