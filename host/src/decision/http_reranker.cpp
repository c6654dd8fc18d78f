#include "velmora/host/decision/http_reranker.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "decision/candidate.h"
#include "decision/candidate_answers.h"
#include "http/json_client.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::decision {
namespace {

using engines::DecisionError;
using nlohmann::json;

// Room for the answer: a score and what a server tells besides for each candidate, and the
// candidate's text, which some send back, with every character escaped.
constexpr std::size_t ANSWER_BYTES = std::size_t{64} << 10;
constexpr std::size_t RESULT_BYTES = 1024;
constexpr std::size_t ESCAPED_BYTES = 6;

bool is_probability(double score) { return score >= 0.0 && score <= 1.0; }

double logistic(double score) { return 1.0 / (1.0 + std::exp(-score)); }

}  // namespace

class HttpReranker::Impl {
 public:
  explicit Impl(HttpRerankerOptions options)
      : model_(std::move(options.model)),
        share_source_(options.share_source),
        client_({.who = "The rerank server",
                 .url = http::endpoint(options.url, "rerank"),
                 .api_key = options.api_key,
                 .deadline = options.deadline}) {}

  [[nodiscard]] bool share_source() const { return share_source_; }

  // The score of each candidate, in their order.
  std::vector<double> scores(const engines::DecisionState& state) {
    json documents = json::array();
    std::size_t longest = ANSWER_BYTES;
    for (const std::string& candidate : state.candidates) {
      // The number says nothing to a model of single documents.
      documents.push_back(without_number(candidate));
      longest += RESULT_BYTES + ESCAPED_BYTES * candidate.size();
    }
    const json answer = json::parse(
        client_.post(
            {{"model", model_}, {"query", state.question}, {"documents", std::move(documents)}},
            longest),
        nullptr, false);
    if (answer.is_discarded()) throw client_.not_json();
    const auto results = answer.find("results");
    if (!answer.is_object() || results == answer.end() || !results->is_array()) {
      throw client_.error("sent no list \"results\"");
    }
    std::vector<std::optional<double>> found(state.candidates.size());
    for (const json& result : *results) read(result, found);
    std::vector<double> scores;
    for (const std::optional<double>& score : found) {
      if (!score) {
        throw client_.error("sent no score of candidate " + std::to_string(scores.size() + 1));
      }
      scores.push_back(*score);
    }
    return scores;
  }

 private:
  void read(const json& result, std::vector<std::optional<double>>& found) const {
    const json* const index = field(result, "index");
    const json* const score = field(result, "relevance_score");
    if (index == nullptr || !index->is_number_unsigned() ||
        index->get<std::uint64_t>() >= found.size()) {
      throw client_.error("sent a result whose index no candidate has");
    }
    // A number too large for a double is not finite.
    if (score == nullptr || !score->is_number() || !std::isfinite(score->get<double>())) {
      throw client_.error("sent a relevance_score that is not a finite number");
    }
    std::optional<double>& place = found[index->get<std::size_t>()];
    if (place) throw client_.error("sent two scores of one candidate");
    place = score->get<double>();
  }

  static const json* field(const json& object, const char* name) {
    const auto found = object.find(name);
    return object.is_object() && found != object.end() ? &*found : nullptr;
  }

  const std::string model_;
  const bool share_source_;
  http::JsonClient client_;
};

HttpReranker::HttpReranker(HttpRerankerOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

HttpReranker::~HttpReranker() = default;

bool HttpReranker::feature_enabled(std::string_view name) {
  return name == workers::retrieval::RERANK_FEATURE;
}

bool HttpReranker::source_consent() { return impl_->share_source(); }

engines::DecisionResult HttpReranker::decide(const engines::DecisionState& state,
                                             const engines::DecisionQuestions& questions,
                                             engines::DecideOptions) {
  std::vector<double> scores;
  try {
    scores = impl_->scores(state);
  } catch (const http::HttpError& error) {
    throw DecisionError(error.what());
  }
  if (!std::ranges::all_of(scores, is_probability)) {
    std::ranges::transform(scores, scores.begin(), logistic);
  }
  return candidate_answers(scores, questions);
}

}  // namespace velmora::host::decision
