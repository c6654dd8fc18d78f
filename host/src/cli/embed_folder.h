// Lets a server's model embed the symbols of a repository's index.
#pragma once

#include <functional>
#include <string>

#include "cli/embedding_options.h"

namespace velmora::host::cli {

// Embeds what has no vector of the model yet, and says what it did. `check` is called often; what
// it throws ends the work, and what was embedded is kept. REQUIRES: the options name a server.
void embed_folder(const std::string& folder, const ServerEmbeddingOptions& options,
                  const std::function<void()>& check);

// The same until the user ends it, by Ctrl-C, which tells what is kept and throws Interrupted.
void embed_folder(const std::string& folder, const ServerEmbeddingOptions& options);

}  // namespace velmora::host::cli
