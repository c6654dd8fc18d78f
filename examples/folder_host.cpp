// Keeps the index of a folder, and answers a question about it: folder_host FOLDER QUESTION
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
  if (count != 3) throw std::invalid_argument("usage: folder_host FOLDER QUESTION");
  const std::filesystem::path folder = arguments[1];
  const auto models =
      std::make_shared<host::embedding::BuiltinEngine>(host::embedding::shipped_model_file());

  // Makes the index, or reads what changed since it was made.
  const auto index = host::index::Index::open_or_create(folder / ".velmora" / "index.db");
  const auto report = host::indexing::refresh(folder, *index, {.model = models->model()});
  std::cout << report.indexed() << " files, " << report.symbols << " symbols\n";

  // The index is a repository: a retriever asks it, and sees each of its states.
  retrieval::HybridRetriever retriever(index,
                                       {.embedder = retrieval::engine_query_embedder(models)});
  const auto answer = retriever.retrieve(arguments[2], {.limit = 3});
  for (const auto& [symbol, score, ranks] : answer.hits) {
    std::cout << symbol.path << ':' << symbol.start_line << ' ' << symbol.fqn << '\n';
  }
  if (answer.note) std::cout << *answer.note << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
