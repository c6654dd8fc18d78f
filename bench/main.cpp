// velmora_benchmarks [--sizes N,N,...] [--index FILE] [--model FILE [--decision FILE]]
//   [--program FILE] [--other-program FILE --other-index FILE --plain-index FILE]
//   [options of Google Benchmark]
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <xapian.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <type_traits>
#include <vector>

#include "benchmarks.h"
#include "one_shot.h"
#include "rerank.h"

namespace {

using namespace velmora::bench;

constexpr std::size_t THREADS_AT = 10'000;
constexpr std::size_t LONG_QUESTION_AT = 100'000;
constexpr std::size_t RERANK_AT = 100'000;

template <class On>
void add(const std::string& name, void (*run)(benchmark::State&, On), const std::string& suffix,
         const std::decay_t<On>& on) {
  benchmark::RegisterBenchmark((name + "/" + suffix).c_str(),
                               [run, on](benchmark::State& state) { run(state, on); })
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) try {
  benchmark::Initialize(&argc, argv);
  CLI::App app("Benchmarks of the retriever; takes the options of Google Benchmark, too.",
               "velmora_benchmarks");
  std::vector<std::size_t> sizes = {1'000, 10'000, 100'000};
  std::string index, decision;
  app.add_option("--sizes", sizes, "Sizes of the generated corpora, in symbols")
      ->delimiter(',')
      ->check(CLI::PositiveNumber);
  app.add_option("--index", index, "An index file, for a real corpus")->check(CLI::ExistingFile);
  OneShot one;
  app.add_option("--program", one.ours.path, "The program velmora, to ask the index one question");
  app.add_option("--model", one.model, "The file of the built-in model");
  app.add_option("--decision", decision, "The weights of the built-in decision model");
  app.add_option("--other-program", one.other.path, "Another velmora, to compare it with");
  app.add_option("--other-index", one.other.index, "The index that the other one made");
  app.add_option("--plain-index", one.plain_index,
                 "Another index of the tree, for the same rows: its words of bodies are deleted");
  CLI11_PARSE(app, argc, argv);
  one.ours.index = index;

  std::vector<SubjectName> subjects;
  for (const std::size_t symbols : sizes) subjects.push_back({symbols});
  if (!index.empty()) subjects.push_back({.index = index});
  for (const SubjectName& on : subjects) {
    const std::string corpus = on.generated() ? std::to_string(on.symbols) : "real";
    add("text_query", text_query, corpus, on);
    add("retrieve", retrieve, corpus, on);
    add("corpus_build", corpus_build, corpus, on);
    add("memory", memory, corpus, on);
    if (on.symbols == THREADS_AT) add("threads", threads, corpus, on);
    if (on.symbols == LONG_QUESTION_AT) add("long_question", long_question, corpus, on);
    if (!one.model.empty() && !decision.empty() && (on.symbols == RERANK_AT || !on.generated())) {
      add("rerank", rerank, corpus, Rerank{on, one.model, decision});
    }
  }
  if (!index.empty() && !one.model.empty()) add("one_shot", one_shot, "real", one);
  using velmora::host::index::VectorKind;
  add("nearest", nearest, "float32", VectorKind::float32);
  add("nearest", nearest, "float16", VectorKind::float16);
  add("nearest", nearest, "int8", VectorKind::int8);
  benchmark::AddCustomContext("compiler", VELMORA_COMPILER);
  benchmark::AddCustomContext("build_type", VELMORA_BUILD_TYPE);
  benchmark::AddCustomContext("sqlite", sqlite3_libversion());
  benchmark::AddCustomContext("xapian", Xapian::version_string());
  benchmark::RunSpecifiedBenchmarks();
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "velmora_benchmarks: %s\n", error.what());
  return 1;
} catch (const Xapian::Error& error) {
  std::fprintf(stderr, "velmora_benchmarks: %s\n", error.get_description().c_str());
  return 1;
}
