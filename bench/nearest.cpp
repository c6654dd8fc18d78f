// What the nearest neighbours among 100,000 stored vectors cost: the best 150 and the best 2,400,
// as the index reads them, with the vectors in memory.
//
// Against a plain loop over the same vectors as floats (one sum in double precision, everything
// kept and the best of it sorted), and against a sweep that only reads as many bytes: the memory's
// bandwidth for one thread. They take turns at each question. Before each, other memory is read, so
// that none finds its rows in the processor's cache, as after a search of the text tables. Beside
// it, how many of the 10 and of the 50 nearest by the plain loop are among those of the index.
// Vectors and questions come from fixed seeds.
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "benchmarks.h"
#include "embeddings.h"
#include "index/row_block.h"
#include "index/stored_vector.h"
#include "measure.h"
#include "velmora/host/index/index.h"

namespace velmora::bench {
namespace {

namespace fs = std::filesystem;
using host::index::Index;
using host::index::RowBlock;
using host::index::Symbol;
using host::index::VectorKind;
using storage::NearestPair;
using Vectors = std::vector<std::vector<float>>;

constexpr std::size_t ROWS = 100'000;
constexpr std::size_t QUESTIONS = 40;
constexpr std::size_t CACHE = std::size_t{128} << 20;  // more than any cache here
constexpr std::uint64_t SEED = 20260301;
constexpr const char* MODEL = "generated";

// A folder that is gone at the end.
class Scratch {
 public:
  Scratch() : path_((fs::temp_directory_path() / "velmora-nearest-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder for " + path_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  [[nodiscard]] fs::path file() const { return fs::path(path_) / "index.db"; }

 private:
  std::string path_;
};

// Adds all of the bytes up, which takes less time than to read them.
[[gnu::always_inline]] inline std::uint64_t sum_of(const std::byte* bytes, std::size_t size) {
  using Wide [[gnu::vector_size(32)]] = std::uint64_t;
  const auto add = [](Wide& sum, const std::byte* at) {
    Wide read;
    std::memcpy(&read, at, sizeof read);
    sum += read;
  };
  constexpr std::size_t STEP = sizeof(Wide);
  Wide a{}, b{}, c{}, d{};
  for (std::size_t at = 0; at + 4 * STEP <= size; at += 4 * STEP) {
    add(a, bytes + at);
    add(b, bytes + at + STEP);
    add(c, bytes + at + 2 * STEP);
    add(d, bytes + at + 3 * STEP);
  }
  a += b + c + d;
  return a[0] + a[1] + a[2] + a[3];
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) std::uint64_t wide_sum_of(const std::byte* bytes,
                                                          std::size_t size) {
  return sum_of(bytes, size);
}
bool has_wide_sum() { return __builtin_cpu_supports("avx2") != 0; }
#else
std::uint64_t wide_sum_of(const std::byte* bytes, std::size_t size) { return sum_of(bytes, size); }
bool has_wide_sum() { return true; }
#endif

// Bytes to sweep, in memory like that of the index.
class Bytes {
 public:
  explicit Bytes(std::size_t size) : block_(size), size_(size) {
    std::memset(block_.data(), 1, size);
  }

  // Reads all of them.
  void sweep() const {
    benchmark::DoNotOptimize(has_wide_sum() ? wide_sum_of(block_.data(), size_)
                                            : sum_of(block_.data(), size_));
  }

 private:
  RowBlock block_;
  std::size_t size_;
};

Symbol symbol(std::size_t row) {
  const std::string name = "f" + std::to_string(row);
  const auto line = static_cast<std::int64_t>(row) + 1;
  return {line, name, name, "function", "c", "f.c", line, line, {}, {}, {}};
}

// Stores the vectors as the index does: int8 those of its own model, others as an import. `ids` are
// those of the rows.
std::shared_ptr<Index> store(const fs::path& file, const Vectors& vectors, VectorKind kind,
                             std::vector<models::SymbolId>& ids) {
  const auto index = Index::open_or_create(file);
  if (kind != VectorKind::int8) {
    std::size_t row = 0;
    const auto next = [&]() -> std::optional<Symbol> {
      if (row == vectors.size()) return std::nullopt;
      Symbol made = symbol(row);
      ids.push_back(*made.id);
      made.embeddings = {{MODEL, vectors[row++]}};
      return made;
    };
    index->replace(next, kind);
    return index;
  }
  index->update([&](host::index::Update& update) {
    std::vector<Symbol> symbols;
    for (std::size_t row = 0; row < vectors.size(); ++row) symbols.push_back(symbol(row));
    host::index::FileRecord record;
    record.path = "f.c";
    update.put(record, symbols);
    ids.resize(vectors.size());
    const auto vector_of = [&](const storage::SymbolRow& symbol, auto, std::span<float> values) {
      const auto row = static_cast<std::size_t>(symbol.start_line) - 1;
      ids.at(row) = symbol.id;
      std::ranges::copy(vectors.at(row), values.begin());
      return true;
    };
    update.embed(MODEL, vectors.front().size(), vector_of);
  });
  return index;
}

std::vector<NearestPair> plain_nearest(const std::vector<float>& rows,
                                       const std::vector<models::SymbolId>& ids,
                                       const std::vector<float>& query, std::size_t top_k) {
  const std::size_t length = query.size();
  std::vector<NearestPair> pairs;
  for (std::size_t row = 0; row * length < rows.size(); ++row) {
    double dot = 0.0;
    for (std::size_t i = 0; i < length; ++i) {
      dot += static_cast<double>(query[i]) * static_cast<double>(rows[row * length + i]);
    }
    pairs.push_back({ids[row], dot});
  }
  const auto end = pairs.begin() + static_cast<std::ptrdiff_t>(top_k);
  std::partial_sort(
      pairs.begin(), end, pairs.end(), [](const NearestPair& a, const NearestPair& b) {
        return a.similarity > b.similarity || (a.similarity == b.similarity && a.id < b.id);
      });
  pairs.erase(end, pairs.end());
  return pairs;
}

// Which part of the first `count` of `wanted` is among the first `count` of `got`.
double recall(std::span<const NearestPair> wanted, std::span<const NearestPair> got,
              std::size_t count) {
  std::size_t found = 0;
  for (const NearestPair& pair : wanted.first(count)) {
    if (std::ranges::count(got.first(count), pair.id, &NearestPair::id) > 0) ++found;
  }
  return static_cast<double>(found) / static_cast<double>(count);
}

double questions_a_second(Index& index, const Vectors& questions, std::size_t threads) {
  constexpr std::size_t ROUNDS = 5;
  const double took = milliseconds([&] {
    std::vector<std::thread> asking;
    for (std::size_t thread = 0; thread < threads; ++thread) {
      asking.emplace_back([&] {
        for (std::size_t i = 0; i < ROUNDS * questions.size(); ++i) {
          benchmark::DoNotOptimize(
              index.nearest_symbol_ids(questions[i % questions.size()], MODEL, {.top_k = 150}));
        }
      });
    }
    for (std::thread& thread : asking) thread.join();
  });
  return static_cast<double>(threads * ROUNDS * questions.size()) / took * 1000.0;
}

}  // namespace

void nearest(benchmark::State& state, VectorKind kind) {
  const std::size_t length = kind == VectorKind::int8 ? 256 : 384;
  EmbeddingGenerator generator(length, SEED);
  Vectors vectors, questions;
  for (std::size_t row = 0; row < ROWS; ++row) vectors.push_back(generator.next());
  for (std::size_t i = 0; i < QUESTIONS; ++i) questions.push_back(generator.next());
  const Scratch scratch;
  std::vector<models::SymbolId> ids;
  const std::shared_ptr<Index> index = store(scratch.file(), vectors, kind, ids);
  std::vector<float> rows;
  rows.reserve(ROWS * length);
  for (const std::vector<float>& vector : vectors) {
    rows.insert(rows.end(), vector.begin(), vector.end());
  }
  vectors = {};

  const std::size_t size = ROWS * length * host::index::number_size(kind);
  const Bytes same_size(size);
  const Bytes others(CACHE);
  const auto ask = [&](const std::vector<float>& question, std::int64_t top_k) {
    return index->nearest_symbol_ids(question, MODEL, {.top_k = top_k});
  };
  benchmark::DoNotOptimize(ask(questions[0], 1));  // reads the vectors
  const auto timed = [&](Sample& sample, auto&& work) {
    others.sweep();
    sample.add(milliseconds(work));
  };

  Sample sweeps, plains, few, many;
  double recall_10 = 0.0, recall_50 = 0.0;
  for (auto _ : state) {
    for (const std::vector<float>& question : questions) {
      std::vector<NearestPair> plain, best;
      timed(sweeps, [&] { same_size.sweep(); });
      timed(few, [&] { best = ask(question, 150); });
      timed(many, [&] { benchmark::DoNotOptimize(ask(question, 2'400)); });
      timed(plains, [&] { plain = plain_nearest(rows, ids, question, 150); });
      timed(sweeps, [&] { same_size.sweep(); });
      if (kind == VectorKind::float32 && recall(plain, best, 150) < 1.0) {
        throw std::runtime_error("the nearest neighbours differ from those of a plain loop");
      }
      recall_10 += recall(plain, best, 10) / QUESTIONS;
      recall_50 += recall(plain, best, 50) / QUESTIONS;
    }
  }
  sweeps.report(state, "sweep");
  plains.report(state, "plain");
  few.report(state, "top150");
  many.report(state, "top2400");
  state.counters["rows"] = ROWS;
  state.counters["dimensions"] = static_cast<double>(length);
  state.counters["bytes"] = static_cast<double>(size);
  state.counters["recall_10"] = recall_10;
  state.counters["recall_50"] = recall_50;
  state.counters["threads_1"] = questions_a_second(*index, questions, 1);
  state.counters["threads_2"] = questions_a_second(*index, questions, 2);
}

}  // namespace velmora::bench
