// The text of a symbol that a server's model embeds.
#pragma once

#include <string>

#include "velmora/export.h"
#include "velmora/host/index/text_vectors.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::host::embedding {

// Reads as a person would introduce the symbol: its kind and name, the words of the name, the
// signature, the path and the docstring, cut to the model's length, behind the model's prefix.
[[nodiscard]] VELMORA_API std::string symbol_text(const storage::SymbolRow& symbol,
                                                  const index::TextModel& model);

// The key under which the index keeps the vector of `text`: a hash of 128 bits.
[[nodiscard]] VELMORA_API index::TextKey text_key(std::string_view text);

// The keys of the texts that `model` embeds: those of the symbols that take part in retrieval.
[[nodiscard]] VELMORA_API index::KeyOf symbol_keys(index::TextModel model);

// Gives new symbols the vectors of their texts that are known already. Asks nobody.
VELMORA_API void link_known_vectors(index::TextVectors& vectors);

}  // namespace velmora::host::embedding
