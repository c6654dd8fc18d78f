// Times, each taken by itself, and what is reported of many.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace velmora::bench {

// The milliseconds that `work()` takes.
template <class Work>
double milliseconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const auto end = std::chrono::steady_clock::now();
  return std::chrono::duration<double, std::milli>(end - start).count();
}

class Sample {
 public:
  void add(double value) { values_.push_back(value); }

  // The least value that `percent` percent of the values do not exceed. REQUIRES: there is a value.
  [[nodiscard]] double percentile(double percent) const {
    std::vector<double> sorted = values_;
    std::sort(sorted.begin(), sorted.end());
    const double rank = std::ceil(percent / 100 * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
  }
  [[nodiscard]] double median() const { return percentile(50); }

  // Reports NAME_p50, NAME_p95 and NAME_p99.
  void report(benchmark::State& state, const std::string& name) const {
    state.counters[name + "_p50"] = percentile(50);
    state.counters[name + "_p95"] = percentile(95);
    state.counters[name + "_p99"] = percentile(99);
  }

 private:
  std::vector<double> values_;
};

}  // namespace velmora::bench
