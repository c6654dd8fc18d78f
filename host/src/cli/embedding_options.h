// The options of the commands that embed.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "velmora/host/embedding/builtin_engine.h"

namespace CLI {
class App;
}

namespace velmora::host::cli {

struct EmbeddingOptions {
  bool none = false;                // --no-embeddings
  std::optional<std::string> file;  // of the program's own model; absent: the one it came with
};

// Adds the options to a command; `without` describes --no-embeddings. `options` outlives the parse.
void add_embedding_options(CLI::App& command, EmbeddingOptions& options,
                           const std::string& without);

[[nodiscard]] std::shared_ptr<embedding::BuiltinEngine> builtin_engine(
    const EmbeddingOptions& options);

}  // namespace velmora::host::cli
