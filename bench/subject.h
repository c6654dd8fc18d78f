// What a benchmark runs on: a repository's symbols, the index that serves them, and questions.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "questions.h"
#include "rows.h"
#include "workers/retrieval/corpus.h"

namespace velmora::bench {

struct Subject {
  std::shared_ptr<const Rows> rows;
  std::shared_ptr<storage::Repository> repository;
  std::vector<Question> questions;
  std::shared_ptr<const workers::retrieval::internal::Corpus> corpus;
};

// Names a subject: so many generated symbols, or those of an index file.
struct SubjectName {
  std::size_t symbols = 0;
  std::string index = {};

  [[nodiscard]] bool generated() const { return index.empty(); }
  [[nodiscard]] bool is_large() const { return symbols >= 1'000'000; }
  bool operator==(const SubjectName&) const = default;
};

// The subject, made on the first call; it lives until another one is asked for, since two large
// ones would crowd the memory.
[[nodiscard]] const Subject& subject(const SubjectName& name);

[[nodiscard]] std::shared_ptr<const workers::retrieval::internal::Corpus> build(
    storage::Repository& repository);

}  // namespace velmora::bench
