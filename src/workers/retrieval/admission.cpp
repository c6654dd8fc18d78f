#include "workers/retrieval/admission.h"

#include <algorithm>
#include <utility>

#include "utils/unicode.h"

namespace velmora::workers::retrieval::internal {

std::optional<std::string> normalize_scope(std::optional<std::string_view> scope) {
  if (!scope) return std::nullopt;
  std::string path(utils::trim(*scope));
  std::replace(path.begin(), path.end(), '\\', '/');
  std::string_view rest = path;
  while (rest.starts_with("./")) rest.remove_prefix(2);
  while (rest.starts_with('/')) rest.remove_prefix(1);
  while (rest.ends_with('/')) rest.remove_suffix(1);
  if (rest.empty() || rest == ".") return std::nullopt;
  return std::string(rest);
}

bool in_scope(std::string_view path, const std::optional<std::string>& scope) {
  if (!scope) return true;
  if (!path.starts_with(*scope)) return false;
  return path.size() == scope->size() || path[scope->size()] == '/';
}

Admission::Admission(std::shared_ptr<const Corpus> corpus, bool tests_allowed,
                     std::optional<std::string> scope)
    : corpus_(std::move(corpus)), tests_allowed_(tests_allowed), scope_(std::move(scope)) {}

bool Admission::operator()(SymbolId id) const {
  const CorpusSymbol* symbol = corpus_->find(id);
  if (symbol == nullptr) return false;
  const CorpusFile& file = corpus_->files[symbol->file];
  return (tests_allowed_ || !file.in_tests) && in_scope(file.path, scope_);
}

}  // namespace velmora::workers::retrieval::internal
