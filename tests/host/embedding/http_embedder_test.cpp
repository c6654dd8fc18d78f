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

TEST(HttpEmbedder, AsksForOneVectorAndKeepsItsConnection) {
  HttpServer server([](const std::string&) {
    return HttpServer::response(R"({"object":"list","data":[{"embedding":[0.5,-2,1e-3]}]})");
  });
  const auto embed = http_query_embedder({.url = server.url() + "/v1/", .model = "tiny"});
  EXPECT_EQ(embed("what \"is\" \xFF?"),
            (workers::retrieval::QueryVector{{0.5F, -2.0F, 1e-3F}, "tiny"}));
  EXPECT_EQ(embed("again").model, "tiny");
  const std::string request = server.requests().at(0);
  EXPECT_EQ(request.find("POST /v1/embeddings HTTP/1.1\r\n"), 0U);
  EXPECT_EQ(request.substr(request.find("\r\n\r\n") + 4),
            "{\"input\":[\"what \\\"is\\\" \uFFFD?\"],\"model\":\"tiny\"}");
  EXPECT_EQ(server.connections(), 1);
}

TEST(HttpEmbedder, SaysWhatWentWrong) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {HttpServer::response("{}", "503 Service Unavailable"), "answered with status 503"},
      {HttpServer::response("<html>"), "sent an answer that is not JSON"},
      {HttpServer::response(R"({"data":[]})"), "sent no data[0].embedding"},
      {HttpServer::response(R"({"data":{"0":{"embedding":3}}})"),
       "sent an embedding that is not a list of finite 32-bit numbers"},
      {HttpServer::response(R"([])"), "sent no data[0].embedding"},
      {HttpServer::response(R"({"data":[{"embedding":[]}]})"), "sent an empty vector"},
      {HttpServer::response(R"({"data":[{"embedding":[1,null]}]})"),
       "sent an embedding that is not a list of finite 32-bit numbers"},
      {HttpServer::response(R"({"data":[{"embedding":[1e39]}]})"),
       "sent an embedding that is not a list of finite 32-bit numbers"},
      {HttpServer::response(std::string((16U << 20) + 1, ' ')), "sent an answer that is too long"},
      {"", "did not answer within 200 ms"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{", "did not answer within 200 ms"},
  };
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
