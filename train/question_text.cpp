#include "question_text.h"

#include <algorithm>
#include <cstddef>

namespace velmora::train {

std::string first_sentence(std::string_view docstring, std::string_view name) {
  docstring = docstring.substr(0, docstring.find("\n\n"));
  const std::size_t end = docstring.find(". ");
  if (end != docstring.npos) docstring = docstring.substr(0, end + 1);
  std::string sentence(docstring);
  std::replace(sentence.begin(), sentence.end(), '\n', ' ');
  if (!name.empty() && sentence.starts_with(name)) {
    const std::string_view rest = std::string_view(sentence).substr(name.size());
    if (rest.starts_with(' ')) sentence = std::string(rest.substr(1));
  }
  return sentence;
}

std::string question_of_subject(std::string_view subject) {
  std::string question;
  while (!subject.empty()) {
    const bool number =
        subject.size() > 1 && subject[0] == '#' && subject[1] >= '0' && subject[1] <= '9';
    if (number) {
      subject.remove_prefix(std::min(subject.find_first_not_of("0123456789", 1), subject.size()));
    } else {
      question += subject.front();
      subject.remove_prefix(1);
    }
  }
  return question;
}

}  // namespace velmora::train
