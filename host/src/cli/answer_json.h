// Answers for programs.
#pragma once

#include <string>

#include "cli/answer.h"

namespace velmora::host::cli {

// One JSON object on one line. The fields of hits that were not asked for are absent.
[[nodiscard]] std::string answer_json(const Answer& answer, const AnswerDetails& details);

// The objects of the hits alone, one a line.
[[nodiscard]] std::string answer_json_lines(const Answer& answer, const AnswerDetails& details);

}  // namespace velmora::host::cli
