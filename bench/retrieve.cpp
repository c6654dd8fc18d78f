// What a question costs from end to end, limit 10 and no embeddings, and each channel by itself;
// beside them, at the same moment, the two full-text queries that it stands on.
#include "benchmarks.h"
#include "measure.h"
#include "workers/retrieval/exact_channel.h"
#include "workers/retrieval/text_channels.h"

namespace velmora::bench {
namespace {

using namespace workers::retrieval;
using internal::Admission;
using internal::Corpus;

void ask_index(const internal::TextIndex::Search& search, internal::TextTable table, int rows) {
  const auto any = [](internal::RowId) { return true; };
  benchmark::DoNotOptimize(search(table, static_cast<std::size_t>(rows), any));
}

}  // namespace

void retrieve(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const Corpus& corpus = *on.corpus;
  HybridRetriever retriever(on.repository);
  const RetrievalSettings settings;

  Sample whole, queries, exact, lexical, file, fusion;
  bool whole_first = true;
  const auto ask = [&](const Question& question) {
    const auto add_whole = [&] {
      whole.add(milliseconds([&] { benchmark::DoNotOptimize(retriever.retrieve(question.text)); }));
    };
    // Whoever comes first finds the caches full of others' data.
    if (whole_first) add_whole();
    queries.add(milliseconds([&] {
      const auto search = corpus.text->search(question.terms);
      ask_index(search, internal::TextTable::symbols, settings.depth);
      ask_index(search, internal::TextTable::files, settings.best_files);
    }));
    if (!whole_first) add_whole();
    whole_first = !whole_first;
    const Admission admit(on.corpus, is_test_query(question.terms), std::nullopt);
    internal::ExactNames names;
    Ranks by_name;
    internal::Channel by_text, by_file;
    exact.add(milliseconds([&] {
      names = internal::exact_names(corpus, question.text, admit, settings.depth);
      by_name = ranks_in_order(names.ids);
    }));
    lexical.add(milliseconds([&] {
      by_text = internal::TextChannels(corpus, question.terms).lexical(admit, settings.depth);
    }));
    file.add(milliseconds([&] {
      by_file = internal::TextChannels(corpus, question.terms).file(admit, settings.best_files);
    }));
    fusion.add(milliseconds([&] {
      benchmark::DoNotOptimize(reciprocal_rank_fusion(
          {{EXACT, by_name}, {LEXICAL, by_text.ranks}, {FILE, by_file.ranks}}, settings.rrf_k));
    }));
  };

  for (const Question& question : on.questions) ask(question);
  whole = queries = exact = lexical = file = fusion = {};
  const int rounds = on.rows->size() > 20'000 ? 2 : 5;
  for (auto _ : state) {
    for (int round = 0; round < rounds; ++round) {
      for (const Question& question : on.questions) ask(question);
    }
  }
  whole.report(state, "retrieve");
  queries.report(state, "queries");
  exact.report(state, "exact");
  lexical.report(state, "lexical");
  file.report(state, "file");
  fusion.report(state, "fusion");
}

}  // namespace velmora::bench
