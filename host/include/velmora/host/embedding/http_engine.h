// An embedding model behind an HTTP server.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "velmora/engines/embedding.h"
#include "velmora/export.h"

namespace velmora::host::embedding {

// Which server embeds, and how it is asked.
struct HttpEngineOptions {
  std::string url;                // http or https; "/embeddings" is appended
  std::string model;              // named in the request, and the model of the vectors
  std::string api_key = {};       // sent as a bearer token; empty: none
  std::string query_prefix = {};  // put before every question, as some models want it
  // The longest that a question may take, from its name look-up to the last byte of the answer.
  std::chrono::milliseconds deadline = std::chrono::seconds(5);
};

// Embeds questions by `POST {url}/embeddings` with {"model": MODEL, "input": [TEXT, ...]}; of the
// answer it reads data[i].embedding, and data[i].index where there is one. Connections stay open
// between questions. The server is asked for a first vector by a thread of the engine, again until
// it gives one; from then on the model counts as loaded.
class VELMORA_API HttpEngine final : public engines::EmbeddingEngine {
 public:
  // Throws std::invalid_argument for a key that cannot stand in a header.
  explicit HttpEngine(HttpEngineOptions options);
  HttpEngine(const HttpEngine&) = delete;
  HttpEngine& operator=(const HttpEngine&) = delete;
  // May take a second while a question of the thread is under way.
  ~HttpEngine() override;

  // Returns early when the server's trouble is not one that passes by itself: it cannot be reached
  // or refuses the question. The backend throws std::runtime_error with what went wrong: no
  // connection, no answer in time, a status other than 200, an answer that is longer than its
  // vectors can be or without a vector of finite numbers for every text, or a vector that is all
  // zero.
  std::shared_ptr<engines::EmbeddingBackend> wait_ready(std::chrono::milliseconds longest) override;

 private:
  class Backend;
  class WarmUp;

  const std::shared_ptr<Backend> backend_;
  const std::unique_ptr<WarmUp> warm_up_;
};

}  // namespace velmora::host::embedding
