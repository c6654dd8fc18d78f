// Which symbols may answer a question.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "workers/retrieval/corpus.h"

namespace velmora::workers::retrieval::internal {

// The scope as the index writes paths: no white space, "./" or slashes around it, forward slashes
// within; absent when it means the whole repository.
[[nodiscard]] std::optional<std::string> normalize_scope(std::optional<std::string_view> scope);

// Whether a path lies in a normalised scope: it is the scope, or below it. An absent scope holds
// every path.
[[nodiscard]] bool in_scope(std::string_view path, const std::optional<std::string>& scope);

// The predicate by which every channel filters its candidates before it counts ranks: the symbol is
// in the corpus, lies in no test file unless tests are allowed, and is in scope. Immutable; a call
// allocates nothing.
class Admission {
 public:
  // `scope` is normalised.
  Admission(std::shared_ptr<const Corpus> corpus, bool tests_allowed,
            std::optional<std::string> scope);

  [[nodiscard]] bool operator()(SymbolId id) const;

 private:
  std::shared_ptr<const Corpus> corpus_;
  bool tests_allowed_;
  std::optional<std::string> scope_;
};

}  // namespace velmora::workers::retrieval::internal
