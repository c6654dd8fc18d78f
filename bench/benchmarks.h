// The benchmarks, each in a file of its own that tells what it measures. Each is run once a
// subject, takes its own times and reports them as counters, in milliseconds unless their name says
// otherwise.
#pragma once

#include <benchmark/benchmark.h>

#include "subject.h"
#include "velmora/host/index/vector_kind.h"

namespace velmora::bench {

void text_query(benchmark::State& state, const SubjectName& name);
void retrieve(benchmark::State& state, const SubjectName& name);
void corpus_build(benchmark::State& state, const SubjectName& name);
void memory(benchmark::State& state, const SubjectName& name);
void threads(benchmark::State& state, const SubjectName& name);
void long_question(benchmark::State& state, const SubjectName& name);
// Runs on vectors of its own.
void nearest(benchmark::State& state, host::index::VectorKind kind);

}  // namespace velmora::bench
