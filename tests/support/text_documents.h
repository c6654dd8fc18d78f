// Documents for a text index, from texts.
#pragma once

#include <array>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "workers/retrieval/documents.h"

namespace velmora::testing {

class TextDocuments {
 public:
  // A row of the symbol table: name, signature, path and docstring.
  void add_symbol(models::SymbolId id, const std::array<std::string, 4>& fields) {
    auto& words = words_.emplace_back();
    const std::size_t name = vocabulary_->append_words(fields[0], words);
    const std::size_t signature = vocabulary_->append_words(fields[1], words);
    vocabulary_->append_words(fields[3], words);
    symbols_.emplace_back(id, words, name, signature, words_of(fields[2]));
  }

  // A row of the file table that holds the symbols added since the last one.
  void end_file(const std::string& path) {
    auto& places = places_.emplace_back();
    for (; filed_ < symbols_.size(); ++filed_) places.push_back(static_cast<std::uint32_t>(filed_));
    files_.push_back({words_of(path), places});
  }

  // Valid until a row is added.
  [[nodiscard]] workers::retrieval::internal::Documents documents() const {
    return {vocabulary_, symbols_, files_};
  }

 private:
  workers::retrieval::internal::Words words_of(const std::string& text) {
    auto& words = words_.emplace_back();
    vocabulary_->append_words(text, words);
    return words;
  }

  std::shared_ptr<workers::retrieval::internal::Vocabulary> vocabulary_ =
      std::make_shared<workers::retrieval::internal::Vocabulary>();
  std::deque<std::vector<workers::retrieval::internal::WordId>> words_;
  std::deque<std::vector<std::uint32_t>> places_;
  std::vector<workers::retrieval::internal::SymbolDocument> symbols_;
  std::vector<workers::retrieval::internal::FileDocument> files_;
  std::size_t filed_ = 0;
};

}  // namespace velmora::testing
