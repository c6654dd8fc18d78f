// Asks a server for the vectors of texts.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "embedding/embedding_answer.h"
#include "http/json_client.h"

namespace velmora::host::embedding {

using Vectors = std::vector<std::vector<float>>;

struct EmbeddingClientOptions {
  std::string url;  // "/embeddings" is appended
  std::string model;
  std::string api_key = {};
  std::chrono::milliseconds deadline = std::chrono::seconds(5);  // of one request
};

// Any number of threads may ask at once.
class EmbeddingClient {
 public:
  // Throws std::invalid_argument for a key that cannot stand in a header.
  explicit EmbeddingClient(const EmbeddingClientOptions& options);

  // The vectors of the texts, in their order: all of one length, finite and not zero. Throws
  // http::HttpError for everything else, an answer longer than so many vectors can be among it.
  [[nodiscard]] Vectors embed(std::span<const std::string> texts, const std::stop_token& stop = {});

  [[nodiscard]] const std::string& model() const { return model_; }

 private:
  [[nodiscard]] std::size_t longest_answer(std::size_t texts) const;
  [[nodiscard]] Vectors vectors_of(EmbeddingAnswer& answer, std::size_t count) const;
  [[nodiscard]] std::size_t place_of(const EmbeddingItem& item, std::size_t position,
                                     std::size_t count) const;
  [[nodiscard]] std::vector<float> vector_of(EmbeddingItem& item) const;

  const std::string model_;
  http::JsonClient client_;
  std::atomic<std::size_t> length_ = 0;  // of the vectors; 0 before the first answer
};

}  // namespace velmora::host::embedding
