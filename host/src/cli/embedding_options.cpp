#include "cli/embedding_options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "cli/output.h"
#include "embedding/index_model.h"
#include "velmora/host/embedding/http_engine.h"

namespace velmora::host::cli {
namespace {

namespace fs = std::filesystem;

void add_server(CLI::App& command, std::string& url, std::string& model,
                const std::string& about_url, const std::string& about_model) {
  command
      .add_option("--embeddings-url", url,
                  about_url + ", with the key in VELMORA_EMBEDDINGS_API_KEY")
      ->type_name("URL");
  command.add_option("--embeddings-model", model, about_model)->type_name("NAME");
}

// One half of a server. Not told by the parser: a variable that stands in the environment for
// other commands must not be in the way of one that asks no server.
void require_both(const std::string& url, const std::string& model) {
  if (url.empty() == model.empty()) return;
  throw CLI::ValidationError(
      url.empty() ? "the embedding model " + model +
                        " needs its server: --embeddings-url URL, or VELMORA_EMBEDDINGS_URL"
                  : "the embedding server " + url +
                        " needs a model: --embeddings-model NAME, or VELMORA_EMBEDDINGS_MODEL");
}

}  // namespace

void require_whole_server(const EmbeddingOptions& options) {
  if (!options.none) require_both(options.url, options.server_model);
}

void require_server(const ServerEmbeddingOptions& options) {
  require_both(options.url, options.model);
  if (!options.url.empty()) return;
  throw CLI::ValidationError(
      "a server that embeds is needed: --embeddings-url URL --embeddings-model NAME, or"
      " VELMORA_EMBEDDINGS_URL and VELMORA_EMBEDDINGS_MODEL");
}

std::string embeddings_key() {
  const char* const key = std::getenv("VELMORA_EMBEDDINGS_API_KEY");
  return key == nullptr ? "" : key;
}

void add_model_option(CLI::App& command, EmbeddingOptions& options) {
  command
      .add_option("--model", options.file,
                  "Embed with this model, in place of tuned.model beside the index or the"
                  " built-in one")
      ->type_name("FILE");
}

void add_embedding_options(CLI::App& command, EmbeddingOptions& options,
                           const std::string& without) {
  command.add_flag("--no-embeddings", options.none, without);
  add_model_option(command, options);
}

void add_server_options(CLI::App& command, EmbeddingOptions& options) {
  add_server(command, options.url, options.server_model, "Embed questions by POST URL/embeddings",
             "The model to ask for; it must have embedded the symbols too");
  command
      .add_option("--embeddings-query-prefix", options.query_prefix,
                  "Put this before a question, for models that want it")
      ->type_name("TEXT");
  command
      .add_option("--embeddings-wait", options.wait_seconds,
                  "How long to wait for a server whose model is still loading")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, 3600).description(""))
      ->capture_default_str();
}

void add_server_embedding_options(CLI::App& command, ServerEmbeddingOptions& options) {
  add_server(command, options.url, options.model, "Embed symbols by POST URL/embeddings",
             "The model to ask for; explore names it too");
  command
      .add_option(
          "--embeddings-document-prefix", options.prefix,
          "Put this before a symbol's text, for models that want it; when absent as the last"
          " time")
      ->type_name("TEXT");
  const auto number = [&](const char* name, auto& value, const char* about, int most) {
    return command.add_option(name, value, about)
        ->type_name("N")
        ->check(CLI::Range(1, most).description(""));
  };
  number("--embeddings-text-length", options.text_length,
         "Embed the first N characters of a text; when absent as the last time, or 1500",
         1'000'000);
  number("--embeddings-batch", options.batch_size, "Texts in one request", 4096)
      ->capture_default_str();
  number("--embeddings-parallel", options.parallel, "Requests at one time", 64)
      ->capture_default_str();
  command.add_flag("--half-precision", options.half_precision,
                   "Keep this model's vectors in two bytes a number from now on, not in four");
  number("--embeddings-timeout", options.timeout_seconds, "Seconds that a request may take", 86'400)
      ->capture_default_str();
}

std::shared_ptr<engines::EmbeddingEngine> question_engine(const EmbeddingOptions& options,
                                                          const fs::path& index_file) {
  if (options.none) return nullptr;
  if (options.url.empty()) return embedding::index_engine(options.file, index_file, tell);
  auto engine = std::make_shared<embedding::HttpEngine>(
      embedding::HttpEngineOptions{.url = options.url,
                                   .model = options.server_model,
                                   .api_key = embeddings_key(),
                                   .query_prefix = options.query_prefix});
  try {
    static_cast<void>(engine->wait_ready(std::chrono::seconds(options.wait_seconds)));
  } catch (const engines::EmbeddingNotReadyError&) {
    // The answer's note tells.
  }
  return engine;
}

}  // namespace velmora::host::cli
