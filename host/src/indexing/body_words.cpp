#include "indexing/body_words.h"

#include <unordered_set>
#include <utility>

#include "indexing/secrets.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::indexing {
namespace {

namespace retrieval = workers::retrieval;

using WordSet = std::unordered_set<std::string>;

// The beginning of a body that counts; it ends where no key or word does.
std::string_view beginning(std::string_view body) {
  if (body.size() <= LONGEST_BODY) return body;
  const std::size_t end = body.find_last_of(" \t\n", LONGEST_BODY);
  return body.substr(0, end == body.npos ? 0 : end);
}

void add_words(std::string_view text, WordSet& words) {
  for (std::string& word : retrieval::split_identifier(text)) words.insert(std::move(word));
}

}  // namespace

BodyWords::BodyWords(std::string_view body) {
  WordSet seen;
  for (std::string& word : retrieval::split_identifier(without_secrets(beginning(body)))) {
    if (word.size() > LONGEST_BODY_WORD || retrieval::STOP_WORDS.contains(word)) continue;
    if (seen.insert(word).second) words_.push_back(std::move(word));
  }
}

std::string BodyWords::beside(const index::Symbol& symbol) const {
  if (words_.empty()) return {};
  WordSet known;
  add_words(symbol.name, known);
  add_words(symbol.path, known);
  if (symbol.signature) add_words(*symbol.signature, known);
  if (symbol.docstring) add_words(*symbol.docstring, known);
  std::string words;
  std::size_t count = 0;
  for (const std::string& word : words_) {
    if (known.contains(word)) continue;
    words.append(words.empty() ? "" : " ").append(word);
    if (++count == MOST_BODY_WORDS) break;
  }
  return words;
}

}  // namespace velmora::host::indexing
