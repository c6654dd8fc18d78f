#include "velmora/host/decision/http_reranker.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "support/http_server.h"

namespace velmora::host::decision {
namespace {

using namespace std::chrono_literals;
using test::HttpServer;

std::string results(const std::string& list) {
  return HttpServer::response("{\"results\":[" + list + "]}");
}

const std::vector<std::string> LINES = {"function a in a.py", "class b. in b.py"};

std::vector<std::size_t> order(HttpReranker& client) {
  const auto [state, questions] = engines::rerank_request("how?", LINES);
  return engines::rerank_order(client.decide(state, questions, {}), LINES.size());
}

TEST(HttpReranker, ScoresTheCandidates) {
  std::string answer = results(R"({"index":1,"relevance_score":0.75},)"
                               R"({"index":0,"relevance_score":0.5})");
  HttpServer server([&](const std::string&) { return answer; });
  HttpReranker client({.url = server.url() + "/v1/", .model = "m", .api_key = "secret"});
  const auto [state, questions] = engines::rerank_request("how?", LINES);
  EXPECT_EQ(client.decide(state, questions, {}),
            (engines::DecisionResult{{{"candidate_1", 0.5}, {"candidate_2", 0.75}}}));
  const std::string request = server.requests().at(0);
  EXPECT_EQ(request.find("POST /v1/rerank HTTP/1.1\r\n"), 0U);
  EXPECT_NE(request.find("Authorization: Bearer secret\r\n"), std::string::npos);
  EXPECT_EQ(
      request.substr(request.find("\r\n\r\n") + 4),
      R"({"documents":["function a in a.py","class b. in b.py"],"model":"m","query":"how?"})");
  // One score beyond 1: all are taken for logits. 1 / (1 + e^0) = 0.5.
  answer = results(R"({"index":0,"relevance_score":0},{"index":1,"relevance_score":-3})");
  const auto decided = client.decide(state, questions, {});
  EXPECT_EQ(decided.probabilities.at("candidate_1"), 0.5);
  EXPECT_NEAR(decided.probabilities.at("candidate_2"), 1 / (1 + std::exp(3)), 1e-15);
  EXPECT_EQ(order(client), (std::vector<std::size_t>{0, 1}));
}

TEST(HttpReranker, SaysWhyItCannotDecide) {
  const std::string good = R"({"index":0,"relevance_score":1},)";
  const std::string no_number = "sent a relevance_score that is not a finite number";
  const std::string no_candidate = "sent a result whose index no candidate has";
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n";
  const std::string endless = "HTTP/1.1 200 OK\r\n\r\n";
  struct Case {
    std::string sent;
    std::string error;  // the message starts so
    std::string drip = {};
  };
  const std::vector<Case> cases = {
      {HttpServer::response("{\"results\":["), "sent an answer that is not JSON"},
      {HttpServer::response("[]"), "sent no list \"results\""},
      {HttpServer::response(R"({"results":7})"), "sent no list \"results\""},
      {results(""), "sent no score of candidate 1"},
      {results(R"({"index":0,"relevance_score":1})"), "sent no score of candidate 2"},
      {results(good + R"({"index":0,"relevance_score":1})"), "sent two scores of one candidate"},
      {results(good + R"({"index":2,"relevance_score":1})"), no_candidate},
      {results(good + R"({"index":-1,"relevance_score":1})"), no_candidate},
      {results(good + "7"), no_candidate},
      {results(good + R"({"index":1})"), no_number},
      {results(good + R"({"index":1,"relevance_score":"1"})"), no_number},
      {results(good + R"({"index":1,"relevance_score":NaN})"), "sent an answer that is not JSON"},
      {results(good + R"({"index":1,"relevance_score":1e999})"), "sent an answer that is not JSON"},
      {HttpServer::response(std::string((16U << 20) + 1, ' ')), "sent an answer that is too long"},
      {HttpServer::response("", "429 Slow\r\nRetry-After: 9"), "answered with status 429"},
      {HttpServer::response("", "500 Broken"), "answered with status 500"},
      {HttpServer::response("", "307 Moved\r\nLocation: /"), "answered with status 307"},
      {head + "Connection: close\r\n\r\n{", "cannot be asked: transfer closed"},
      {"", "did not answer within 200 ms"},
      {head + "\r\n{", "did not answer within 200 ms"},
      {endless, "did not answer within 200 ms", " "},
      {endless, "sent an answer that is too long", std::string(1U << 20, ' ')},
  };
  for (const auto& [sent, error, drip] : cases) {
    HttpServer server([&sent = sent](const std::string&) { return sent; }, drip);
    const bool silent = error.starts_with("did not answer");
    HttpReranker client({.url = server.url(), .model = "m", .deadline = silent ? 200ms : 60s});
    try {
      order(client);
      ADD_FAILURE() << sent;
    } catch (const engines::DecisionError& failure) {
      EXPECT_EQ(std::string(failure.what()).find("The rerank server " + error), 0U)
          << failure.what();
    }
  }
}

}  // namespace
}  // namespace velmora::host::decision
