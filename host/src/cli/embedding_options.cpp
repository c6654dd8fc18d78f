#include "cli/embedding_options.h"

#include <CLI/CLI.hpp>

namespace velmora::host::cli {

void add_embedding_options(CLI::App& command, EmbeddingOptions& options,
                           const std::string& without) {
  command.add_flag("--no-embeddings", options.none, without);
  command
      .add_option("--model", options.file,
                  "The embedding model to use in place of the one that velmora came with")
      ->type_name("FILE")
      ->envname("VELMORA_MODEL");
}

std::shared_ptr<embedding::BuiltinEngine> builtin_engine(const EmbeddingOptions& options) {
  return std::make_shared<embedding::BuiltinEngine>(
      options.file ? std::filesystem::path(*options.file) : embedding::shipped_model_file());
}

}  // namespace velmora::host::cli
