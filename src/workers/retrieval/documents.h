// The documents that a text index is made of: the rows of the two full-text tables, as words.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

using Words = std::span<const WordId>;

// A row of the symbol table.
struct SymbolDocument {
  SymbolId id = 0;
  Words name;
  Words signature;
  Words path;
  Words docstring;
};

// A row of the file table: its path, and the names and docstrings of its symbols.
struct FileDocument {
  Words path;
  std::span<const std::uint32_t> symbols;  // places among the symbol documents
};

struct Documents {
  const Vocabulary& vocabulary;
  std::span<const SymbolDocument> symbols;
  std::span<const FileDocument> files;  // the rows 1, 2, ...
};

}  // namespace velmora::workers::retrieval::internal
