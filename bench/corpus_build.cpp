// What building a corpus costs, by part, against the bare fill: two full-text tables of the same
// rows, filled from ready-made texts. All take turns; reported are the medians of three runs (of
// one at a million).
//
// The parts are measured by themselves: reading the index's rows, cutting and numbering their
// words, and making the text index. What the whole takes beyond them is the grouping by file and by
// name, and copying the texts that a corpus keeps.
#include "benchmarks.h"
#include "measure.h"
#include "velmora/utils/language_filter.h"
#include "word_tables.h"
#include "workers/retrieval/text_index.h"

namespace velmora::bench {
namespace {

namespace internal = workers::retrieval::internal;

void read(storage::Repository& repository) {
  const auto rows = repository.retrievable_code_symbols(
      utils::SOURCE_LANGUAGES.words(), workers::retrieval::RETRIEVABLE_KINDS.words());
  while (const storage::SymbolRow* row = rows->next()) benchmark::DoNotOptimize(row->id);
}

// The milliseconds that making a value takes, without letting go of it.
template <class Make>
double making(Make make) {
  std::optional<decltype(make())> made;
  return milliseconds([&] { made.emplace(make()); });
}

}  // namespace

void corpus_build(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const CorpusWords words(*on.rows);
  const TableTexts texts(words.documents());

  Sample whole, bare, reading, splitting, indexing;
  for (auto _ : state) {
    for (int run = 0; run < (name.is_large() ? 1 : 3); ++run) {
      bare.add(making([&] { return std::make_unique<FilledTables>(texts); }));
      whole.add(making([&] { return build(*on.repository); }));
      reading.add(milliseconds([&] { read(*on.repository); }));
      splitting.add(making([&] { return std::make_unique<CorpusWords>(*on.rows); }));
      indexing.add(making([&] { return internal::text_index({}, words.documents()); }));
    }
  }
  state.counters["build"] = whole.median();
  state.counters["bare_fill"] = bare.median();
  state.counters["read"] = reading.median();
  state.counters["split"] = splitting.median();
  state.counters["index"] = indexing.median();
  state.counters["rest"] =
      whole.median() - reading.median() - splitting.median() - indexing.median();
}

}  // namespace velmora::bench
