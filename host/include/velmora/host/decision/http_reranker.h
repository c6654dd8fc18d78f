// A decision model behind an HTTP server.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "velmora/engines/decision.h"
#include "velmora/export.h"

namespace velmora::host::decision {

// Which server decides, and what it may see.
struct HttpRerankerOptions {
  std::string url;            // http or https; "/rerank" is appended
  std::string model;          // named in the request
  std::string api_key = {};   // sent as a bearer token; empty: none
  bool share_source = false;  // whether signatures and docstrings may be sent
  // The longest that a decision may take, whatever the server does; above 0.
  std::chrono::milliseconds deadline = std::chrono::seconds(3);
};

// Decides by `POST {url}/rerank` with {"model": MODEL, "query": QUESTION, "documents": [LINE,
// ...]}; of the answer it reads results[i].index and results[i].relevance_score. Scores that are
// not all from 0 to 1 go through the logistic function; beyond 37 or so it makes them equal. Any
// number of threads may ask at once; connections stay open between questions.
class VELMORA_API HttpReranker final : public engines::DecisionClient {
 public:
  // Throws std::invalid_argument for a key that cannot stand in a header.
  explicit HttpReranker(HttpRerankerOptions options);
  ~HttpReranker() override;

  // The rerank is on, and nothing else.
  bool feature_enabled(std::string_view name) override;

  bool source_consent() override;

  // Answers the questions of engines::rerank_request. The DecisionError of a failure says what went
  // wrong: no connection, no answer in time, a status other than 200, or an answer that does not
  // score every candidate once with a finite number.
  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions options) override;

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::host::decision
