#include "velmora/host/embedding/http_embedder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

#include "support/http_server.h"

namespace velmora::host::embedding {
namespace {

using namespace std::chrono_literals;
using test::HttpServer;

std::string error_of(const workers::retrieval::QueryEmbedder& embed) {
  try {
    embed("x");
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no error";
}

TEST(HttpEmbedder, AsksForOneVector) {
  HttpServer server([](const std::string&) {
    return HttpServer::response(R"({"object":"list","data":[{"embedding":[0.5,-2,1e-3]}]})");
  });
  const auto embed = http_query_embedder({.url = server.url() + "/v1/", .model = "tiny"});
  EXPECT_EQ(embed("what \"is\" \xFF?"),
            (workers::retrieval::QueryVector{{0.5F, -2.0F, 1e-3F}, "tiny"}));
  const std::string request = server.requests().at(0);
  EXPECT_EQ(request.find("POST /v1/embeddings HTTP/1.1\r\n"), 0U);
  EXPECT_EQ(request.substr(request.find("\r\n\r\n") + 4),
            "{\"input\":[\"what \\\"is\\\" \uFFFD?\"],\"model\":\"tiny\"}");
}

TEST(HttpEmbedder, SaysWhatWentWrong) {
  const std::string no_list = "sent an embedding that is not a list of finite 32-bit numbers";
  const std::vector<std::pair<std::string, std::string>> bodies = {
      {"<html>", "sent an answer that is not JSON"},
      {R"({"data":[]})", "sent no data[0].embedding"},
      {"[]", "sent no data[0].embedding"},
      {R"({"data":[{"embedding":3}]})", no_list},
      {R"({"data":[{"embedding":[1,null]}]})", no_list},
      {R"({"data":[{"embedding":[1e39]}]})", no_list},
      {R"({"data":[{"embedding":[]}]})", "sent an empty vector"},
      {std::string((16U << 20) + 1, ' '), "sent an answer that is too long"},
  };
  std::vector<std::pair<std::string, std::string>> cases = {
      {HttpServer::response("{}", "503 Service Unavailable"), "answered with status 503"},
      {"", "did not answer within 200 ms"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{", "did not answer within 200 ms"},
  };
  for (const auto& [body, error] : bodies) cases.emplace_back(HttpServer::response(body), error);
  for (const auto& [sent, error] : cases) {
    const bool silent = error.starts_with("did not answer");
    HttpServer server([&sent = sent](const std::string&) { return sent; });
    const auto embed =
        http_query_embedder({.url = server.url(), .model = "m", .deadline = silent ? 200ms : 60s});
    EXPECT_EQ(error_of(embed), "the embedding server " + error);
  }
  std::string closed;
  {
    closed = HttpServer([](const std::string&) { return ""; }).url();
  }
  EXPECT_EQ(error_of(http_query_embedder({.url = closed, .model = "m"}))
                .find("the embedding server cannot be asked: Failed to connect"),
            0U);
  EXPECT_EQ(error_of(http_query_embedder({.url = "file:///etc", .model = "m"}))
                .find("the embedding server cannot be asked: Protocol \"file\" not supported"),
            0U);
}

}  // namespace
}  // namespace velmora::host::embedding
