// The texts of a corpus as its full-text tables store them; gone when the tables are filled.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

// A field in the form of `index_text`, as text and as the same words numbered.
struct IndexText {
  std::string_view text;
  std::span<const WordId> words;
};

// A row of the symbol table.
struct SymbolText {
  SymbolId id = 0;
  IndexText name;
  IndexText signature;
  IndexText path;
  IndexText docstring;
};

// A row of the file table: its path, and the names and docstrings of its symbols.
struct FileText {
  std::int64_t row = 0;
  IndexText path;
  std::span<const std::uint32_t> symbols;  // places among the symbol rows
};

// Everything that the tables hold.
struct CorpusText {
  const Vocabulary& vocabulary;
  std::span<const SymbolText> symbols;
  std::span<const FileText> files;  // ascending by row
};

}  // namespace velmora::workers::retrieval::internal
