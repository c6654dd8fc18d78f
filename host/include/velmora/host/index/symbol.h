// A symbol as the host writes it into its index.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "velmora/models/symbol.h"

namespace velmora::host::index {

using models::SymbolId;

// A vector that a model made of a symbol.
struct SymbolEmbedding {
  std::string model;          // its name, as EmbeddingBackend::name has it
  std::vector<float> values;  // finite, not all zero
};

// One symbol with everything that the index keeps of it.
struct Symbol {
  std::optional<SymbolId> id = {};  // absent: an import gives the next ascending one
  std::string fqn;                  // fully qualified name
  std::string name;                 // the symbol's own name
  std::string kind;                 // for instance one of RETRIEVABLE_KINDS
  std::string language;             // for instance one of SOURCE_LANGUAGES
  std::string path;  // relative to the root: forward slashes, no "./", no slash at an end
  std::int64_t start_line = 0;                // from 1
  std::int64_t end_line = 0;                  // the last line, inclusive
  std::optional<std::string> signature = {};  // on one line
  std::optional<std::string> docstring = {};  // without comment markers
  // Words of its body, in lower case, with spaces between. Text search reads them behind the
  // docstring; nobody is shown them.
  std::string words = {};
  std::vector<SymbolEmbedding> embeddings = {};  // at most one of a model
};

}  // namespace velmora::host::index
