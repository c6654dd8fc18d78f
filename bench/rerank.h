// The benchmark of what better answers cost a question.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "subject.h"

namespace velmora::bench {

// A subject, and the files of the built-in model and of the decision model's weights.
struct Rerank {
  SubjectName on;
  std::string model;
  std::string decision;
};

void rerank(benchmark::State& state, const Rerank& of);

}  // namespace velmora::bench
