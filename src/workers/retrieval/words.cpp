#include "workers/retrieval/words.h"

#include <algorithm>

#include "utils/interner.h"
#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {

using internal::WordScanner;

namespace internal {

void append_lowercase(std::string& out, std::string_view word) {
  const std::size_t before = out.size();
  out.append(word);
  for (std::size_t i = before; i < out.size(); ++i) {
    out[i] = static_cast<char>(out[i] | 0x20);  // leaves digits as they are
  }
}

}  // namespace internal

std::vector<std::string> split_identifier(std::string_view text) {
  std::vector<std::string> words;
  WordScanner scanner(text);
  for (std::string_view word = scanner.next(); !word.empty(); word = scanner.next()) {
    internal::append_lowercase(words.emplace_back(), word);
  }
  return words;
}

std::vector<std::string> query_terms(std::string_view text) {
  std::vector<std::string> terms;
  utils::Interner seen;
  std::string words;
  words.reserve(text.size());  // so that none moves
  WordScanner scanner(text);
  for (std::string_view word = scanner.next(); !word.empty(); word = scanner.next()) {
    internal::append_lowercase(words, word);
    const std::string_view term(words.end() - static_cast<std::ptrdiff_t>(word.size()),
                                words.end());
    if (!STOP_WORDS.contains(term) && seen.add(term) == terms.size()) terms.emplace_back(term);
  }
  return terms;
}

bool is_test_query(std::span<const std::string> terms) {
  return std::any_of(terms.begin(), terms.end(),
                     [](const std::string& term) { return TEST_QUERY_WORDS.contains(term); });
}

}  // namespace velmora::workers::retrieval
