// The questions that sources and histories hold.
#pragma once

#include <string>
#include <string_view>

namespace velmora::train {

// The question that a docstring answers: its first sentence, without the symbol's own name at its
// beginning.
[[nodiscard]] std::string first_sentence(std::string_view docstring, std::string_view name);

// The question that a commit's subject is: without numbers of issues.
[[nodiscard]] std::string question_of_subject(std::string_view subject);

}  // namespace velmora::train
