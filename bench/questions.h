// What is asked of a repository: 2 to 5 words, most of them from the name and docstring of one
// symbol, the others from anywhere, so that a frequent word is asked for as often as it is written.
// One question in five spells the symbol's name, as in code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "rows.h"

namespace velmora::bench {

struct Question {
  std::string text;
  std::vector<std::string> terms;  // at least one
};

struct QuestionOptions {
  std::size_t count = 0;
  std::uint64_t seed = 0;
  // Whether one word in twenty is from a path; the first folders of a path may match every row.
  bool path_words = false;
};

[[nodiscard]] std::vector<Question> make_questions(const Rows& rows, QuestionOptions options);

}  // namespace velmora::bench
