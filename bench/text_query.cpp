// What a text query costs: the first 50 rows of the symbol table and of the file table, best first.
//
// The library against SQLite's own bm25 over full-text tables of the same rows, and against Xapian,
// which searches symbols alone. They take turns at each question, so that noise hits all alike,
// after a pass that warms them up. Corpora, questions and their seeds: subject.cpp. Any row that
// differs from SQLite's is an error.
#include <stdexcept>

#include "benchmarks.h"
#include "measure.h"
#include "word_tables.h"
#include "xapian_search.h"

namespace velmora::bench {
namespace {

using workers::retrieval::internal::Corpus;
using workers::retrieval::internal::TextTable;

std::vector<std::int64_t> first_rows(const Corpus& corpus, std::span<const std::string> terms) {
  const auto any = [](std::int64_t) { return true; };
  const auto search = corpus.text->search(terms);
  std::vector<std::int64_t> rows = search(TextTable::symbols, FIRST_ROWS, any);
  for (const std::int64_t row : search(TextTable::files, FIRST_ROWS, any)) {
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

void text_query(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  const Corpus& corpus = *on.corpus;
  const CorpusWords words(*on.rows);
  FilledTables stock(TableTexts(words.documents()));
  XapianSearch xapian(words.documents());

  Sample matches;
  for (const Question& question : on.questions) {
    if (first_rows(corpus, question.terms) != stock.first_rows(question.terms)) {
      throw std::runtime_error("the rows differ from SQLite's: " + question.text);
    }
    benchmark::DoNotOptimize(xapian.ask(question.terms));
    matches.add(static_cast<double>(stock.matches(question.terms)));
  }

  const int rounds = on.rows->size() > 20'000 ? 1 : 5;
  Sample ours, stocks, xapians;
  for (auto _ : state) {
    for (int round = 0; round < rounds; ++round) {
      for (const Question& question : on.questions) {
        const std::vector<std::string>& terms = question.terms;
        stocks.add(milliseconds([&] { benchmark::DoNotOptimize(stock.first_rows(terms)); }));
        xapians.add(milliseconds([&] { benchmark::DoNotOptimize(xapian.ask(terms)); }));
        ours.add(milliseconds([&] { benchmark::DoNotOptimize(first_rows(corpus, terms)); }));
      }
    }
  }
  ours.report(state, "ours");
  stocks.report(state, "stock");
  xapians.report(state, "xapian");
  state.counters["questions"] = static_cast<double>(on.questions.size());
  state.counters["symbols"] = static_cast<double>(on.rows->size());
  state.counters["files"] = static_cast<double>(corpus.files.size());
  state.counters["matching_rows"] = matches.median();
}

}  // namespace velmora::bench
