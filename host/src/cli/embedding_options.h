// The options of the commands that embed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "velmora/engines/embedding.h"

namespace CLI {
class App;
}

namespace velmora::host::cli {

struct EmbeddingOptions {
  bool none = false;                // --no-embeddings
  std::optional<std::string> file;  // of the program's own model; absent: the index tells
  // Of a server that embeds in place of it; empty: none.
  std::string url;
  std::string server_model;
  std::string query_prefix;
  int wait_seconds = 5;
};

// Of a server that embeds the symbols.
struct ServerEmbeddingOptions {
  std::string url;
  std::string model;
  std::optional<std::string> prefix;
  std::optional<std::int64_t> text_length;
  std::size_t batch_size = 64;
  unsigned parallel = 4;
  int timeout_seconds = 120;
  bool half_precision = false;
  bool anew = false;
};

// Adds --model to a command. `options` outlives the parse.
void add_model_option(CLI::App& command, EmbeddingOptions& options);

// Adds --model and --no-embeddings, which `without` describes.
void add_embedding_options(CLI::App& command, EmbeddingOptions& options,
                           const std::string& without);

// Adds those of a server that embeds questions. The key comes from the environment alone, so that
// it stands in no history and no list of processes.
void add_server_options(CLI::App& command, EmbeddingOptions& options);

// Adds those of a server that embeds symbols.
void add_server_embedding_options(CLI::App& command, ServerEmbeddingOptions& options);

// Throws CLI::ValidationError, which says what is missing, for a server that embeds questions
// without a model, or a model without a server.
void require_whole_server(const EmbeddingOptions& options);

// The same of one that embeds symbols, and unless there is one at all.
void require_server(const ServerEmbeddingOptions& options);

// The key of an embedding server; empty when there is none.
[[nodiscard]] std::string embeddings_key();

// The engine that embeds questions to an index; null with --no-embeddings. Waits for a server, but
// no longer than the user wants.
[[nodiscard]] std::shared_ptr<engines::EmbeddingEngine> question_engine(
    const EmbeddingOptions& options, const std::filesystem::path& index_file);

}  // namespace velmora::host::cli
