// What a corpus holds, in bytes, by part. The parts that have no owner to ask (hash tables, spare
// room, the allocator's own bytes) are what the heap holds beyond the others, so that the sum is
// what the process really pays.
#include <malloc.h>
#include <sqlite3.h>

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
    const auto sqlite_before = sqlite3_memory_used();
    const std::shared_ptr<const Corpus> corpus = build(*on.repository);
    const auto total = heap_bytes() - heap_before;
    const auto tables = static_cast<double>(sqlite3_memory_used() - sqlite_before);

    const auto texts = static_cast<double>(corpus->texts.capacity());
    const auto postings = static_cast<double>(corpus->text->memory());
    const double symbols = bytes(corpus->symbols);
    const double names = bytes(corpus->names) + bytes(corpus->name_symbols);
    const double files = bytes(corpus->files) + bytes(corpus->file_symbols);
    state.counters["symbols"] = static_cast<double>(corpus->symbols.size());
    state.counters["total_bytes"] = total;
    state.counters["tables_bytes"] = tables;
    state.counters["texts_bytes"] = texts;
    state.counters["postings_bytes"] = postings;
    state.counters["symbols_bytes"] = symbols;
    state.counters["names_bytes"] = names;
    state.counters["files_bytes"] = files;
    state.counters["other_bytes"] = total - tables - texts - postings - symbols - names - files;
  }
}

}  // namespace velmora::bench
