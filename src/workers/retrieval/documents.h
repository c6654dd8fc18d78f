// The documents that a text index is made of: the rows of the two full-text tables, as words.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>

#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

using Words = std::span<const WordId>;

// A row of the symbol table. Its words are stored elsewhere: those of name, signature and docstring
// one after another, those of the path with its file's.
class SymbolDocument {
 public:
  // `words` holds `name` words of the name, then `signature` words of the signature.
  SymbolDocument(SymbolId number, Words words, std::size_t name, std::size_t signature, Words path)
      : id(number), words_(words.data()), path_(path.data()) {
    const std::array<std::size_t, 4> ends = {name, name + signature, words.size(), path.size()};
    if (std::max(ends[2], ends[3]) > std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("a symbol's texts hold fewer than 2^32 words");
    }
    std::transform(ends.begin(), ends.end(), ends_.begin(),
                   [](std::size_t end) { return static_cast<std::uint32_t>(end); });
  }

  [[nodiscard]] Words name() const { return {words_, ends_[0]}; }
  [[nodiscard]] Words signature() const { return {words_ + ends_[0], words_ + ends_[1]}; }
  [[nodiscard]] Words docstring() const { return {words_ + ends_[1], words_ + ends_[2]}; }
  [[nodiscard]] Words path() const { return {path_, ends_[3]}; }

  SymbolId id;

 private:
  const WordId* words_;
  const WordId* path_;
  std::array<std::uint32_t, 4> ends_;
};

// A row of the file table: its path, and the names and docstrings of its symbols.
struct FileDocument {
  Words path;
  std::span<const std::uint32_t> symbols;  // places among the symbol documents
};

struct Documents {
  std::shared_ptr<const Vocabulary> vocabulary;
  std::span<const SymbolDocument> symbols;
  std::span<const FileDocument> files;  // the rows 1, 2, ...
};

}  // namespace velmora::workers::retrieval::internal
