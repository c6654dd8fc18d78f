// Rows for full-text tables, from texts that are in the form of `index_text` already.
#pragma once

#include <array>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "workers/retrieval/index_texts.h"

namespace velmora::testing {

class TextRows {
 public:
  // A row of the symbol table: name, signature, path and docstring.
  void add_symbol(models::SymbolId id, const std::array<std::string, 4>& fields) {
    symbols_.push_back(
        {id, numbered(fields[0]), numbered(fields[1]), numbered(fields[2]), numbered(fields[3])});
  }

  // A row of the file table that holds the symbols added since the last one.
  void end_file(std::int64_t row, const std::string& path) {
    auto& places = places_.emplace_back();
    for (; filed_ < symbols_.size(); ++filed_) places.push_back(static_cast<std::uint32_t>(filed_));
    files_.push_back({row, numbered(path), places});
  }

  // Valid until a row is added.
  [[nodiscard]] workers::retrieval::internal::CorpusText text() const {
    return {vocabulary_, symbols_, files_};
  }

 private:
  workers::retrieval::internal::IndexText numbered(const std::string& text) {
    const std::string& kept = texts_.emplace_back(text);
    auto& words = words_.emplace_back();
    for (std::size_t start = 0; start < kept.size();) {
      const std::size_t end = std::min(kept.find(' ', start), kept.size());
      if (end > start)
        words.push_back(vocabulary_.add(std::string_view(kept).substr(start, end - start)));
      start = end + 1;
    }
    return {kept, words};
  }

  workers::retrieval::internal::Vocabulary vocabulary_;
  std::deque<std::string> texts_;
  std::deque<std::vector<workers::retrieval::internal::WordId>> words_;
  std::deque<std::vector<std::uint32_t>> places_;
  std::vector<workers::retrieval::internal::SymbolText> symbols_;
  std::vector<workers::retrieval::internal::FileText> files_;
  std::size_t filed_ = 0;
};

}  // namespace velmora::testing
