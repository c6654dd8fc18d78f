#include "subject.h"

#include <optional>
#include <stdexcept>

#include "generated_rows.h"
#include "velmora/host/index/index.h"
#include "velmora/utils/language_filter.h"

namespace velmora::bench {
namespace {

constexpr std::uint64_t ROWS_SEED = 20260101;
constexpr std::uint64_t QUESTIONS_SEED = 7;

std::shared_ptr<const Rows> rows_of(storage::Repository& repository) {
  auto rows = std::make_shared<Rows>();
  const auto cursor = repository.retrievable_code_symbols(
      utils::SOURCE_LANGUAGES.words(), workers::retrieval::RETRIEVABLE_KINDS.words());
  const auto copy = [](std::optional<std::string_view> text) {
    return text ? std::optional<std::string>(*text) : std::nullopt;
  };
  while (const storage::SymbolRow* row = cursor->next()) {
    rows->push_back({row->id, std::string(row->fqn), std::string(row->name), std::string(row->kind),
                     std::string(row->path), copy(row->signature), copy(row->docstring)});
  }
  return rows;
}

Subject make(const SubjectName& name) {
  Subject made;
  if (name.generated()) {
    made.rows = std::make_shared<const Rows>(generated_rows(name.symbols, ROWS_SEED));
    made.repository = std::make_shared<RowsRepository>(made.rows);
  } else {
    made.repository = host::index::Index::open(name.index);
    made.rows = rows_of(*made.repository);
    if (made.rows->empty()) throw std::runtime_error(name.index + " holds no symbols");
  }
  made.questions = make_questions(*made.rows, {.count = name.is_large() ? 60u : 200u,
                                               .seed = QUESTIONS_SEED,
                                               .path_words = name.generated()});
  made.corpus = build(*made.repository);
  return made;
}

}  // namespace

const Subject& subject(const SubjectName& name) {
  static SubjectName current;
  static std::optional<Subject> kept;
  if (!kept || current != name) {
    kept.reset();
    kept = make(name);
    current = name;
  }
  return *kept;
}

std::shared_ptr<const workers::retrieval::internal::Corpus> build(storage::Repository& repository) {
  return workers::retrieval::internal::build_corpus(repository, repository.retrieval_fingerprint(),
                                                    {});
}

}  // namespace velmora::bench
