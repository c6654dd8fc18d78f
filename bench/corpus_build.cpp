// What building a corpus costs, by part, against the bare fill: both full-text tables filled from
// ready-made words. All take turns; reported are the medians of three runs (of one at a million).
//
// The parts are measured by themselves: reading the index's rows, cutting and numbering their
// words, making the tables, and within that counting their tokens. What the whole takes beyond them
// is the grouping by file and by name, and copying the texts that a corpus keeps.
#include "benchmarks.h"
#include "measure.h"
#include "velmora/utils/language_filter.h"
#include "word_tables.h"
#include "workers/retrieval/text_tables.h"

namespace velmora::bench {
namespace {

namespace internal = workers::retrieval::internal;

void read(storage::Repository& repository) {
  const auto rows = repository.retrievable_code_symbols(
      utils::SOURCE_LANGUAGES.words(), workers::retrieval::RETRIEVABLE_KINDS.words());
  while (const storage::SymbolRow* row = rows->next()) benchmark::DoNotOptimize(row->id);
}

void count(const internal::TextTables& tables, const internal::CorpusText& text) {
  const workers::retrieval::LexicalWeights symbols;
  const workers::retrieval::FileWeights files;
  internal::TableTokenizer tokenizer(tables.database(), std::string(internal::SYMBOL_TABLE));
  benchmark::DoNotOptimize(internal::TextCounts::count(
      tokenizer,
      {{symbols.name, symbols.signature, symbols.path, symbols.docstring},
       {files.names, files.path, files.docstrings}},
      text));
}

}  // namespace

void corpus_build(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const CorpusWords words(*on.rows);
  const internal::CorpusText text = words.text();
  const std::vector<FileRow> files = joined_files(text);

  Sample whole, bare, reading, splitting, tables, counting;
  for (auto _ : state) {
    for (int run = 0; run < (name.is_large() ? 1 : 3); ++run) {
      {
        std::optional<storage::Database> filled;
        bare.add(milliseconds([&] { filled = filled_tables(text.symbols, files); }));
      }
      {
        std::shared_ptr<const internal::Corpus> corpus;
        whole.add(milliseconds([&] { corpus = build(*on.repository); }));
      }
      {
        std::optional<CorpusWords> split;
        reading.add(milliseconds([&] { read(*on.repository); }));
        splitting.add(milliseconds([&] { split.emplace(*on.rows); }));
      }
      std::unique_ptr<internal::TextTables> made;
      tables.add(milliseconds([&] { made = internal::text_tables({}, text); }));
      counting.add(milliseconds([&] { count(*made, text); }));
    }
  }
  state.counters["build"] = whole.median();
  state.counters["bare_fill"] = bare.median();
  state.counters["read"] = reading.median();
  state.counters["split"] = splitting.median();
  state.counters["count"] = counting.median();
  state.counters["fill"] = tables.median() - counting.median();
  state.counters["rest"] = whole.median() - reading.median() - splitting.median() - tables.median();
}

}  // namespace velmora::bench
