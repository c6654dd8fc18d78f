// Which words of a question spell names in code.
#include <algorithm>

#include "utils/interner.h"
#include "utils/unicode.h"
#include "velmora/workers/retrieval.h"
#include "workers/retrieval/words.h"

namespace velmora::workers::retrieval {
namespace {

using internal::is_capital;
using internal::is_number;
using internal::is_small;

bool begins_name(char c) { return is_capital(c) || is_small(c) || c == '_' || c == '$'; }
bool continues_name(char c) { return begins_name(c) || is_number(c); }

// What the pattern [A-Za-z_$][A-Za-z0-9_$]* finds.
std::vector<std::string_view> names_in(std::string_view query) {
  std::vector<std::string_view> names;
  auto at = query.begin();
  while ((at = std::find_if(at, query.end(), begins_name)) != query.end()) {
    const auto end = std::find_if_not(at, query.end(), continues_name);
    names.emplace_back(at, end);
    at = end;
  }
  return names;
}

// What the pattern [a-z0-9][A-Z]|[A-Z]{2}[a-z] finds somewhere.
bool mixes_case(std::string_view word) {
  for (std::size_t i = 1; i < word.size(); ++i) {
    if (!is_capital(word[i])) continue;
    if (is_small(word[i - 1]) || is_number(word[i - 1])) return true;
    if (is_capital(word[i - 1]) && i + 1 < word.size() && is_small(word[i + 1])) return true;
  }
  return false;
}

bool is_capitalised(std::string_view word) {
  if (word.empty()) return false;
  const utils::Character first = utils::first_character(word);
  const std::string_view rest = word.substr(first.length);
  return utils::is_uppercase(first) && !rest.empty() &&
         utils::is_lowercase(utils::first_character(rest));
}

bool has_digit(std::string_view word) {
  while (!word.empty()) {
    const utils::Character character = utils::first_character(word);
    if (utils::is_digit(character)) return true;
    word.remove_prefix(character.length);
  }
  return false;
}

}  // namespace

bool reads_as_code(std::string_view word) {
  return word.find_first_of("_$") != std::string_view::npos || mixes_case(word) ||
         is_capitalised(word) || has_digit(word);
}

std::vector<std::string> query_names(std::string_view query) {
  const std::vector<std::string_view> found = names_in(query);
  if (found.size() == 1) return {std::string(found.front())};
  std::vector<std::string> names;
  names.reserve(found.size());
  utils::Interner seen;
  for (const std::string_view name : found) {
    if (!STOP_WORDS.contains(utils::lowercase(name)) && seen.add(name) == names.size()) {
      names.emplace_back(name);
    }
  }
  return names;
}

}  // namespace velmora::workers::retrieval
