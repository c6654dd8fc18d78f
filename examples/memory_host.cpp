// A host whose index changes while questions are asked, whose embedding model takes its time to
// load, and whose decision model fails in the end.
#include "memory_host.h"

#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

void ask(retrieval::HybridRetriever& retriever, std::string_view question) {
  const auto answer = retriever.retrieve(question, {.limit = 3, .rerank = true});
  std::cout << "> " << question << '\n';
  for (const auto& [symbol, score, ranks] : answer.hits) {
    std::cout << symbol.path << ':' << symbol.start_line << ' ' << symbol.fqn;
    for (const auto& [channel, rank] : ranks) std::cout << ' ' << channel << '#' << rank;
    std::cout << '\n';
  }
  if (answer.note) std::cout << *answer.note << '\n';
}

int main() {
  std::vector<Symbol> symbols = {
      {1, "net.Backoff.delay", "delay", "method", "python", "net.py", 30, 36, "delay(self, n)",
       "Seconds until the next attempt."},
      {2, "net.connect", "connect", "function", "python", "net.py", 1, 20, "connect(url)",
       "Opens a socket to a server."},
      {3, "files.load", "load", "function", "python", "files.py", 1, 8, "load(path)",
       "All bytes of a file."},
      {4, "README", "README", "section", "markdown", "README.md", 1, 30, {}, "How to retry."},
  };
  const auto model = std::make_shared<ConceptModel>();
  const auto index = std::make_shared<MemoryIndex>();
  index->replace(symbols, model->name(), embeddings_of(*model, symbols));

  std::promise<Model> loading;
  const auto engine = std::make_shared<LoadedElsewhere>(loading.get_future().share());
  const auto judge = std::make_shared<WordJudge>();
  retrieval::HybridRetriever retriever(
      index, {.embedder = retrieval::engine_query_embedder(engine), .decisions = judge});

  ask(retriever, "retry the connect");  // the model is not there yet
  loading.set_value(model);
  ask(retriever, "retry the connect");
  symbols.push_back({5, "net.retry", "retry", "function", "python", "net.py", 40, 52, "retry(call)",
                     "Makes a call once more after a pause."});
  index->replace(symbols, model->name(), embeddings_of(*model, symbols));
  ask(retriever, "connect, and the next attempt after it");
  judge->reachable = false;
  ask(retriever, "connect, and the next attempt after it");
}
