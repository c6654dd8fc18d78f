#include "cli/embedding_options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <system_error>

#include "velmora/host/embedding/http_engine.h"

namespace velmora::host::cli {

namespace fs = std::filesystem;

void add_model_option(CLI::App& command, EmbeddingOptions& options) {
  command
      .add_option("--model", options.file,
                  "The embedding model to use, in place of tuned.model beside the index and of the"
                  " one that velmora came with")
      ->type_name("FILE")
      ->envname("VELMORA_MODEL");
}

void add_embedding_options(CLI::App& command, EmbeddingOptions& options,
                           const std::string& without) {
  command.add_flag("--no-embeddings", options.none, without);
  add_model_option(command, options);
}

void add_server_options(CLI::App& command, EmbeddingOptions& options) {
  CLI::Option* url = command
                         .add_option("--embeddings-url", options.url,
                                     "Embed questions by POST URL/embeddings; the API key, if it"
                                     " wants one, is in VELMORA_EMBEDDINGS_API_KEY")
                         ->type_name("URL")
                         ->envname("VELMORA_EMBEDDINGS_URL");
  CLI::Option* model =
      command
          .add_option("--embeddings-model", options.server_model,
                      "The model to ask for; it must have embedded the symbols too")
          ->type_name("NAME")
          ->envname("VELMORA_EMBEDDINGS_MODEL");
  url->needs(model);
  model->needs(url);
  command
      .add_option("--embeddings-query-prefix", options.query_prefix,
                  "Put this before a question, for models that want it")
      ->type_name("TEXT")
      ->needs(url);
  command
      .add_option("--embeddings-wait", options.wait_seconds,
                  "How long to wait for the server's model at the start")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, 3600).description(""))
      ->capture_default_str();
}

std::optional<fs::path> chosen_model_file(const EmbeddingOptions& options,
                                          const fs::path& index_file) {
  if (options.file) return *options.file;
  const fs::path tuned = index_file.parent_path() / "tuned.model";
  std::error_code unreadable;  // opening it will tell
  if (fs::symlink_status(tuned, unreadable).type() == fs::file_type::not_found) return std::nullopt;
  return tuned;
}

std::shared_ptr<embedding::BuiltinEngine> builtin_engine(const EmbeddingOptions& options,
                                                         const fs::path& index_file) {
  return std::make_shared<embedding::BuiltinEngine>(
      chosen_model_file(options, index_file).value_or(embedding::shipped_model_file()));
}

std::shared_ptr<engines::EmbeddingEngine> question_engine(const EmbeddingOptions& options,
                                                          const fs::path& index_file) {
  if (options.none) return nullptr;
  if (options.url.empty()) return builtin_engine(options, index_file);
  const char* const key = std::getenv("VELMORA_EMBEDDINGS_API_KEY");
  auto engine = std::make_shared<embedding::HttpEngine>(
      embedding::HttpEngineOptions{.url = options.url,
                                   .model = options.server_model,
                                   .api_key = key == nullptr ? "" : key,
                                   .query_prefix = options.query_prefix});
  try {
    static_cast<void>(engine->wait_ready(std::chrono::seconds(options.wait_seconds)));
  } catch (const engines::EmbeddingNotReadyError&) {
    // The answer's note tells.
  }
  return engine;
}

}  // namespace velmora::host::cli
