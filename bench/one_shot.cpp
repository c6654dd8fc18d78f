// What one question costs a program that is started for it: processor time of `velmora explore`
// from start to end, of this program and of another one, which take turns; and where it goes, part
// by part, each made anew in this process. The index is made and the file cache warm. Another index
// of the same tree goes without the words of bodies, which an older program does not know.
#include "one_shot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <ctime>
#include <stdexcept>
#include <system_error>

#include "index/connection.h"
#include "measure.h"
#include "subject.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/index/index.h"
#include "velmora/utils/language_filter.h"

extern char** environ;

namespace velmora::bench {
namespace {

constexpr int RUNS = 7;
constexpr const char* QUESTION = "how are the lines of a source file parsed";

// The milliseconds of processor time that a program takes to answer.
double answer(const OneShotProgram& program) {
  std::string path = program.path, explore = "explore", question = QUESTION, index = "--index",
              file = program.index;
  char* const arguments[] = {path.data(),  explore.data(), question.data(),
                             index.data(), file.data(),    nullptr};
  ::posix_spawn_file_actions_t silent;
  ::posix_spawn_file_actions_init(&silent);
  ::posix_spawn_file_actions_addopen(&silent, 1, "/dev/null", O_WRONLY, 0);
  ::pid_t child = 0;
  const int code = ::posix_spawn(&child, path.c_str(), &silent, nullptr, arguments, environ);
  ::posix_spawn_file_actions_destroy(&silent);
  if (code != 0) throw std::system_error(code, std::generic_category(), path);
  int status = 0;
  struct ::rusage used {};
  if (::wait4(child, &status, 0, &used) != child || status != 0) {
    throw std::runtime_error(path + " did not answer");
  }
  const auto time = [](const ::timeval& value) {
    return static_cast<double>(value.tv_sec) * 1e3 + static_cast<double>(value.tv_usec) / 1e3;
  };
  return time(used.ru_utime) + time(used.ru_stime);
}

double processor_milliseconds() { return static_cast<double>(std::clock()) * 1e3 / CLOCKS_PER_SEC; }

template <class Work>
double processor_time(Work&& work) {
  const double start = processor_milliseconds();
  work();
  return processor_milliseconds() - start;
}

}  // namespace

void one_shot(benchmark::State& state, const OneShot& on) {
  using namespace workers::retrieval;
  if (!on.plain_index.empty()) {
    host::index::connect(on.plain_index, SQLITE_OPEN_READWRITE)
        .execute("UPDATE symbols SET words = ''");
  }
  Sample ours, plain, others, opening, reading, building, model, vectors, question;
  for (auto _ : state) {
    for (int run = 0; run < RUNS; ++run) {
      if (!on.ours.path.empty()) ours.add(answer(on.ours));
      if (!on.plain_index.empty()) plain.add(answer({on.ours.path, on.plain_index}));
      if (!on.other.path.empty()) others.add(answer(on.other));

      std::shared_ptr<host::index::Index> index;
      opening.add(processor_time([&] { index = host::index::Index::open(on.ours.index); }));
      reading.add(processor_time([&] {
        const auto rows = index->retrievable_code_symbols(utils::SOURCE_LANGUAGES.words(),
                                                          RETRIEVABLE_KINDS.words());
        while (const storage::SymbolRow* row = rows->next()) benchmark::DoNotOptimize(row->id);
      }));
      building.add(processor_time([&] { benchmark::DoNotOptimize(build(*index)); }));
      QueryVector vector;
      model.add(processor_time([&] {
        vector = engine_query_embedder(std::make_shared<host::embedding::BuiltinEngine>(on.model))(
            QUESTION);
      }));
      vectors.add(processor_time([&] {
        benchmark::DoNotOptimize(
            index->nearest_symbol_ids(vector.values, vector.model, {.top_k = 150}));
      }));
      HybridRetriever retriever(index);
      benchmark::DoNotOptimize(retriever.retrieve(QUESTION));
      question.add(processor_time([&] { benchmark::DoNotOptimize(retriever.retrieve(QUESTION)); }));
    }
  }
  if (!on.ours.path.empty()) state.counters["ours"] = ours.median();
  if (!on.plain_index.empty()) state.counters["plain"] = plain.median();
  if (!on.other.path.empty()) state.counters["other"] = others.median();
  state.counters["open"] = opening.median();
  state.counters["read"] = reading.median();
  state.counters["build"] = building.median() - reading.median();
  state.counters["model"] = model.median();
  state.counters["vectors"] = vectors.median();
  state.counters["question"] = question.median();
}

}  // namespace velmora::bench
