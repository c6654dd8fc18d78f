// Asks a server for the vectors of texts.
#pragma once

#include <chrono>
#include <cstddef>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "http/json_client.h"

namespace velmora::host::embedding {

using Vectors = std::vector<std::vector<float>>;

struct EmbeddingClientOptions {
  std::string url;  // "/embeddings" is appended
  std::string model;
  std::string api_key = {};
  std::chrono::milliseconds deadline = std::chrono::seconds(5);  // of one request
  std::size_t longest_answer = std::size_t{16} << 20;            // in bytes
};

// Any number of threads may ask at once.
class EmbeddingClient {
 public:
  // Throws std::invalid_argument for a key that cannot stand in a header.
  explicit EmbeddingClient(const EmbeddingClientOptions& options);

  // The vectors of the texts, in their order: all of one length, finite and not zero. Throws
  // http::HttpError for everything else.
  [[nodiscard]] Vectors embed(std::span<const std::string> texts, std::stop_token stop = {});

  [[nodiscard]] const std::string& model() const { return model_; }

 private:
  [[nodiscard]] Vectors vectors_of(const nlohmann::json& answer, std::size_t count) const;
  [[nodiscard]] std::size_t place_of(const nlohmann::json& item, std::size_t position,
                                     std::size_t count) const;
  [[nodiscard]] std::vector<float> vector_of(const nlohmann::json& item) const;

  const std::string model_;
  http::JsonClient client_;
};

}  // namespace velmora::host::embedding
