// The options of a rerank by a server.
#pragma once

#include <memory>
#include <string>

#include "velmora/engines/rerank_client.h"

namespace CLI {
class App;
}

namespace velmora::host::cli {

struct RerankOptions {
  bool none = false;  // --no-rerank
  std::string url;    // empty: no rerank either
  std::string model;
  bool share_source = false;
};

// Adds the options to a command. `options` outlives the parse. The key comes from the environment
// alone, so that it stands in no history and no list of processes.
void add_rerank_options(CLI::App& command, RerankOptions& options);

// Throws CLI::ValidationError, which says what is missing, for a server without a model, or a model
// without a server.
void require_whole_rerank(const RerankOptions& options);

// The client that reorders the first hits; null when there is none.
[[nodiscard]] std::shared_ptr<engines::RerankClient> rerank_client(const RerankOptions& options);

}  // namespace velmora::host::cli
