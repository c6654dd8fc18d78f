#include "browse/sentence.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velmora::host::browse {
namespace {

constexpr std::string_view SPACES = " \t\r\n";
constexpr std::string_view MARKS = ".,:;!?";

bool is_capital(char c) { return c >= 'A' && c <= 'Z'; }
bool is_small(char c) { return c >= 'a' && c <= 'z'; }

bool is_prose(std::string_view word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), is_small);
}

struct Word {
  std::size_t begin = 0;
  std::string_view text;  // without marks at its end
  bool begins_sentence = false;
};

std::vector<Word> words_of(std::string_view question) {
  std::vector<Word> words;
  bool begins = true;
  std::size_t at = question.find_first_not_of(SPACES);
  while (at != question.npos) {
    const std::size_t end = std::min(question.find_first_of(SPACES, at), question.size());
    const std::string_view whole = question.substr(at, end - at);
    const std::size_t last = whole.find_last_not_of(MARKS);
    words.push_back({at, whole.substr(0, last == whole.npos ? 0 : last + 1), begins});
    begins = MARKS.find(whole.back()) != MARKS.npos && whole.back() != ',';
    at = question.find_first_not_of(SPACES, end);
  }
  return words;
}

}  // namespace

std::string read_as_sentence(std::string_view question,
                             const std::function<bool(std::string_view)>& is_thing) {
  std::string read(question);
  const std::vector<Word> words = words_of(question);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string_view word = words[i].text;
    if (!words[i].begins_sentence || word.size() < 2 || !is_capital(word.front())) continue;
    if (!is_prose(word.substr(1))) continue;
    bool goes_on = false;
    for (std::size_t j = i + 1; j < words.size() && !words[j].begins_sentence; ++j) {
      goes_on = goes_on || is_prose(words[j].text);
    }
    if (!goes_on || is_thing(word)) continue;
    read[words[i].begin] = static_cast<char>(word.front() - 'A' + 'a');
  }
  return read;
}

}  // namespace velmora::host::browse
