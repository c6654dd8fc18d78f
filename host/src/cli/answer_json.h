// Answers for programs.
#pragma once

#include <string>

#include "browse/answer.h"

namespace velmora::host::cli {

// One JSON object on one line. The fields of hits that were not asked for are absent.
[[nodiscard]] std::string answer_json(const browse::Answer& answer,
                                      const browse::AnswerDetails& details);

// The objects of the hits alone, one a line.
[[nodiscard]] std::string answer_json_lines(const browse::Answer& answer,
                                            const browse::AnswerDetails& details);

}  // namespace velmora::host::cli
