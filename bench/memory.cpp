// What a corpus holds, in bytes, by part. What has no owner to ask (the text index, hash tables,
// spare room, the allocator's own bytes) is what the heap holds beyond the others, so that the sum
// is what the process really pays.
#include <malloc.h>

#include "benchmarks.h"

namespace velmora::bench {
namespace {

using workers::retrieval::internal::Corpus;

double heap_bytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

template <class Value>
double bytes(const std::vector<Value>& values) {
  return static_cast<double>(values.capacity() * sizeof(Value));
}

}  // namespace

void memory(benchmark::State& state, const SubjectName& name) {
  const Subject& on = subject(name);
  for (auto _ : state) {
    const double heap_before = heap_bytes();
    const std::shared_ptr<const Corpus> corpus = build(*on.repository);
    const auto total = heap_bytes() - heap_before;
    const auto texts = static_cast<double>(corpus->texts.capacity());
    const double symbols = bytes(corpus->symbols);
    const double names = bytes(corpus->names) + bytes(corpus->name_symbols);
    const double files = bytes(corpus->files) + bytes(corpus->file_symbols);
    state.counters["symbols"] = static_cast<double>(corpus->symbols.size());
    state.counters["total_bytes"] = total;
    state.counters["texts_bytes"] = texts;
    state.counters["symbols_bytes"] = symbols;
    state.counters["names_bytes"] = names;
    state.counters["files_bytes"] = files;
    state.counters["other_bytes"] = total - texts - symbols - names - files;
  }
}

}  // namespace velmora::bench
