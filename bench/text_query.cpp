// What a text query costs: the first 50 rows of the symbol table and of the file table, best first.
//
// The library against SQLite's own bm25 by the same SQL on the same pages, against the floor (a
// bm25 that looks the library's number up by the rowid), and against Xapian, which searches symbols
// alone. They take turns at each question, so that noise hits all alike, after a pass that warms
// them up. Corpora, questions and their seeds: subject.cpp. Any row that differs from SQLite's is
// an error.
#include <stdexcept>

#include "benchmarks.h"
#include "measure.h"
#include "word_tables.h"
#include "xapian_search.h"

namespace velmora::bench {
namespace {

using workers::retrieval::internal::Corpus;
using workers::retrieval::internal::FILE_TABLE;
using workers::retrieval::internal::Matching;
using workers::retrieval::internal::SYMBOL_TABLE;

std::vector<std::int64_t> first_rows(const Corpus& corpus, std::span<const std::string> terms) {
  std::vector<std::int64_t> rows;
  for (const std::string_view table : {SYMBOL_TABLE, FILE_TABLE}) {
    std::size_t count = 0;
    for (const std::int64_t row : Matching(*corpus.fts, corpus.fts_lock, table, terms)) {
      rows.push_back(row);
      if (++count == FIRST_ROWS) break;
    }
  }
  return rows;
}

}  // namespace

void text_query(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const Corpus& corpus = *on.corpus;
  CopiedTables stock(corpus.fts->database());
  CopiedTables floor(corpus.fts->database());
  floor.rank_for_nothing();
  const CorpusWords words(*on.rows);
  XapianSearch xapian(words.text());

  Sample matches;
  for (const Question& question : on.questions) {
    if (first_rows(corpus, question.terms) != stock.first_rows(question.terms)) {
      throw std::runtime_error("the rows differ from SQLite's: " + question.text);
    }
    benchmark::DoNotOptimize(xapian.ask(question.terms));
    matches.add(static_cast<double>(stock.matches(question.terms)));
  }

  const int rounds = on.rows->size() > 20'000 ? 1 : 5;
  Sample ours, stocks, floors, xapians;
  bool ours_first = true;
  for (auto _ : state) {
    for (int round = 0; round < rounds; ++round) {
      for (const Question& question : on.questions) {
        const std::vector<std::string>& terms = question.terms;
        floor.replay(corpus, terms);
        stocks.add(milliseconds([&] { benchmark::DoNotOptimize(stock.first_rows(terms)); }));
        // Whoever comes first finds the caches full of others' data.
        const auto add_ours = [&] {
          ours.add(milliseconds([&] { benchmark::DoNotOptimize(first_rows(corpus, terms)); }));
        };
        const auto add_floor = [&] {
          floors.add(milliseconds([&] { benchmark::DoNotOptimize(floor.first_rows(terms)); }));
        };
        if (ours_first) add_ours();
        add_floor();
        if (!ours_first) add_ours();
        ours_first = !ours_first;
        xapians.add(milliseconds([&] { benchmark::DoNotOptimize(xapian.ask(terms)); }));
      }
    }
  }
  ours.report(state, "ours");
  stocks.report(state, "stock");
  floors.report(state, "floor");
  xapians.report(state, "xapian");
  state.counters["questions"] = static_cast<double>(on.questions.size());
  state.counters["symbols"] = static_cast<double>(on.rows->size());
  state.counters["files"] = static_cast<double>(corpus.files.size());
  state.counters["matching_rows"] = matches.median();
}

}  // namespace velmora::bench
