// Embeds queries by asking an HTTP server.
#pragma once

#include <chrono>
#include <string>

#include "velmora/workers/retrieval.h"

namespace velmora::host::embedding {

struct HttpEmbedderOptions {
  std::string url;    // http or https; "/embeddings" is appended
  std::string model;  // named in the request, and the model of the vectors
  // The longest that a query may take, from its name look-up to the last byte of the answer.
  std::chrono::milliseconds deadline = std::chrono::seconds(5);
};

// An embedder that sends {"model": MODEL, "input": [QUERY]} to `POST {url}/embeddings` and reads
// data[0].embedding of the answer. It may be called from several threads at once and keeps its
// connections open between calls. Any failure is a std::runtime_error that says what went wrong: no
// connection, no answer in time, a status other than 200, an answer without a vector of finite
// numbers, or one of more than 16 MiB.
[[nodiscard]] workers::retrieval::QueryEmbedder http_query_embedder(HttpEmbedderOptions options);

}  // namespace velmora::host::embedding
