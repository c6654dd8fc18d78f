#include "velmora/host/embedding/symbol_text.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "index/content_hash.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::embedding {
namespace {

// The first `characters` of `text` (UTF-8).
std::string_view beginning(std::string_view text, std::int64_t characters) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool begins_character = (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
    if (begins_character && characters-- == 0) return text.substr(0, at);
  }
  return text;
}

// " (parse config)" for parse_config; nothing for a name of one word.
std::string words_of(std::string_view name) {
  const std::vector<std::string> words = workers::retrieval::split_identifier(name);
  if (words.size() < 2) return {};
  std::string text = " (";
  for (const std::string& word : words) text.append(&word == words.data() ? "" : " ").append(word);
  return text + ")";
}

}  // namespace

std::string symbol_text(const storage::SymbolRow& symbol, const index::TextModel& model) {
  std::string text;
  text.append(symbol.kind).append(" ").append(symbol.fqn).append(words_of(symbol.name));
  if (symbol.signature) text.append("\n").append(*symbol.signature);
  text.append("\n").append(symbol.path);
  if (symbol.docstring) text.append("\n").append(*symbol.docstring);
  return model.prefix + std::string(beginning(text, model.text_length));
}

index::TextKey text_key(std::string_view text) { return index::wide_content_hash(text); }

index::KeyOf symbol_keys(index::TextModel model) {
  return [model = std::move(model)](const storage::SymbolRow& symbol) {
    return workers::retrieval::RETRIEVABLE_KINDS.contains(symbol.kind)
               ? std::optional(text_key(symbol_text(symbol, model)))
               : std::nullopt;
  };
}

void link_known_vectors(index::TextVectors& vectors) {
  for (const index::TextModel& model : vectors.models()) {
    vectors.link_new(model.name, symbol_keys(model));
  }
}

}  // namespace velmora::host::embedding
