// Answers for people.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "cli/answer.h"
#include "cli/terminal.h"

namespace velmora::host::cli {

// What an answer says of itself, a sentence each: that its hits are guesses, that there are none,
// which name may have been meant.
[[nodiscard]] std::vector<std::string> remarks(const Answer& answer);

// The remarks, a block of lines for each hit, and the note last. Places link to files below `root`.
[[nodiscard]] std::string answer_text(const Answer& answer, const AnswerDetails& details,
                                      const std::filesystem::path& root, const Look& look);

}  // namespace velmora::host::cli
