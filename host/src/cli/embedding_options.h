// The options of the commands that embed.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "velmora/engines/embedding.h"
#include "velmora/host/embedding/builtin_engine.h"

namespace CLI {
class App;
}

namespace velmora::host::cli {

struct EmbeddingOptions {
  bool none = false;                // --no-embeddings
  std::optional<std::string> file;  // of the program's own model; absent: the one it came with
  // Of a server that embeds in place of it; empty: none.
  std::string url;
  std::string server_model;
  std::string query_prefix;
  int wait_seconds = 5;
};

// Adds --model to a command. `options` outlives the parse.
void add_model_option(CLI::App& command, EmbeddingOptions& options);

// Adds --model and --no-embeddings, which `without` describes.
void add_embedding_options(CLI::App& command, EmbeddingOptions& options,
                           const std::string& without);

// Adds those of a server that embeds questions. The key comes from the environment alone, so that
// it stands in no history and no list of processes.
void add_server_options(CLI::App& command, EmbeddingOptions& options);

[[nodiscard]] std::shared_ptr<embedding::BuiltinEngine> builtin_engine(
    const EmbeddingOptions& options);

// The engine that embeds questions; null with --no-embeddings. Waits for a server, but no longer
// than the user wants.
[[nodiscard]] std::shared_ptr<engines::EmbeddingEngine> question_engine(
    const EmbeddingOptions& options);

}  // namespace velmora::host::cli
