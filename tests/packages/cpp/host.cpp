// Indexes the folder DIR into DIR/.velmora and prints what answers QUESTION best, by the models that
// come with velmora: PATH:LINE NAME, and the note if there is one.
#include <velmora/host/decision/builtin_decision.h>
#include <velmora/host/embedding/builtin_engine.h>
#include <velmora/host/index/index.h>
#include <velmora/host/indexing/refresh.h>
#include <velmora/workers/retrieval.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>

namespace host = velmora::host;
namespace retrieval = velmora::workers::retrieval;

int main(int count, char** arguments) try {
  if (count != 3) return 2;
  const std::filesystem::path folder = arguments[1];
  const auto model =
      std::make_shared<host::embedding::BuiltinEngine>(host::embedding::shipped_model_file());
  const auto index = host::index::Index::open_or_create(folder / ".velmora" / "index.db");
  const auto report = host::indexing::refresh(folder, *index, {.model = model->model()});
  std::cout << report.indexed() << " files, " << report.embedded << " symbols\n";

  retrieval::HybridRetriever retriever(
      index, {.embedder = retrieval::engine_query_embedder(model),
              .decisions = std::make_shared<host::decision::BuiltinDecision>(
                  host::decision::shipped_decision_file(), model)});
  const auto answer = retriever.retrieve(arguments[2], {.limit = 1, .rerank = true});
  for (const auto& hit : answer.hits) {
    std::cout << hit.symbol.path << ':' << hit.symbol.start_line << ' ' << hit.symbol.fqn << '\n';
  }
  if (answer.note) std::cout << *answer.note << '\n';
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
