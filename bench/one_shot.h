// The benchmark of a program that is started for one question.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

namespace velmora::bench {

// A program `velmora` and an index that it made.
struct OneShotProgram {
  std::string path;
  std::string index;
};

struct OneShot {
  OneShotProgram ours;
  OneShotProgram other;     // empty: none to compare with
  std::string plain_index;  // of the same tree; its words of bodies are deleted. Empty: none
  std::string model;        // the file of the built-in model
};

void one_shot(benchmark::State& state, const OneShot& on);

}  // namespace velmora::bench
