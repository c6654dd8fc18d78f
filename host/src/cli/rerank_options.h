// The options of a rerank.
#pragma once

#include <memory>
#include <string>

#include "velmora/engines/embedding.h"
#include "velmora/engines/rerank_client.h"
#include "velmora/host/decision/builtin_decision.h"

namespace CLI {
class App;
}

namespace velmora::host::cli {

struct RerankOptions {
  bool none = false;  // --no-rerank
  std::string url;    // empty: no server, but the program's own model
  std::string model;
  bool share_source = false;
};

// Adds the options to a command. `options` outlives the parse. The key comes from the environment
// alone, so that it stands in no history and no list of processes.
void add_rerank_options(CLI::App& command, RerankOptions& options);

// Throws CLI::ValidationError, which says what is missing, for a server without a model, or a model
// without a server.
void require_whole_rerank(const RerankOptions& options);

// The client that reorders the first hits: the server's, or the program's own, which knows words as
// `engine` does, or as the model that the program came with when `engine` is a server's. Null when
// there is to be none: with --no-rerank, and without a server when `engine` is null, since hits are
// to be ranked by names and text only. What the program's own decides, `observer` is told.
[[nodiscard]] std::shared_ptr<engines::RerankClient> rerank_client(
    const RerankOptions& options, const std::shared_ptr<engines::EmbeddingEngine>& engine,
    decision::DecisionObserver observer = {});

}  // namespace velmora::host::cli
