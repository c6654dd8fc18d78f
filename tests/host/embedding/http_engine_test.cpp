#include "velmora/host/embedding/http_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "embedding/embedding_answer.h"
#include "embedding/float_list.h"
#include "support/http_server.h"

namespace velmora::host::embedding {
namespace {

using namespace std::chrono_literals;
using test::HttpServer;

constexpr std::string_view READY = R"({"data":[{"embedding":[1]}]})";

std::string error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no error";
}

// Answers the first request with a vector, and the others with `answer`.
class ReadyServer {
 public:
  explicit ReadyServer(std::string answer)
      : server_([answer = std::move(answer), first = true](const std::string&) mutable {
          return std::exchange(first, false) ? HttpServer::response(READY) : answer;
        }) {}
  HttpServer* operator->() { return &server_; }

 private:
  HttpServer server_;
};

TEST(HttpEngine, EmbedsInTheOrderOfTheTexts) {
  ReadyServer server(HttpServer::response(
      R"({"data":[{"index":1,"embedding":[0.5,-2]},{"index":0,"embedding":[1e-3,0]}]})"));
  HttpEngine engine({.url = server->url() + "/v1/",
                     .model = "tiny",
                     .api_key = "secret",
                     .query_prefix = "query: "});
  const auto backend = engine.wait_ready(60s);
  EXPECT_EQ(backend->name(), "tiny");
  const std::vector<std::string_view> texts = {"what \"is\" \xFF?", "b"};
  EXPECT_EQ(backend->embed(texts), (std::vector<std::vector<float>>{{1e-3F, 0.0F}, {0.5F, -2.0F}}));
  const std::string request = server->requests().at(1);
  EXPECT_EQ(request.find("POST /v1/embeddings HTTP/1.1\r\n"), 0U);
  EXPECT_NE(request.find("Authorization: Bearer secret\r\n"), std::string::npos);
  EXPECT_EQ(request.substr(request.find("\r\n\r\n") + 4),
            "{\"input\":[\"query: what \\\"is\\\" \uFFFD?\",\"query: b\"],\"model\":\"tiny\"}");
  EXPECT_THROW(HttpEngine({.url = "http://x", .model = "m", .api_key = "a\nb"}),
               std::invalid_argument);
}

TEST(HttpEngine, SaysWhatIsWrongWithAnAnswer) {
  const std::string no_list = "sent an embedding that is not a list of finite 32-bit numbers";
  const auto item = [](const std::string& vector) {
    return HttpServer::response(R"({"data":[{"embedding":)" + vector + "}]}");
  };
  const std::vector<std::pair<std::string, std::string>> cases = {
      {HttpServer::response("<html>"), "sent an answer that is not JSON"},
      {HttpServer::response(R"({"data":[{"embed)"), "sent an answer that is not JSON"},
      {HttpServer::response("[]"), "sent no list \"data\""},
      {HttpServer::response(R"({"data":{}})"), "sent no list \"data\""},
      {HttpServer::response(R"({"data":[]})"), "sent 0 vectors for 1 text"},
      {HttpServer::response(R"({"data":[7]})"), "sent an item without \"embedding\""},
      {HttpServer::response(R"({"data":[{"index":1,"embedding":[1]}]})"),
       "sent an index that no text has"},
      {HttpServer::response(R"({"data":[{"index":-1,"embedding":[1]}]})"),
       "sent an index that no text has"},
      {item("3"), no_list},
      {item("[1,null]"), no_list},
      {item("[1e39]"), no_list},
      {item("[NaN]"), "sent an answer that is not JSON"},
      {item("[]"), "sent an empty vector"},
      {item("[0,-0.0]"), "sent a vector that is all zero"},
      {HttpServer::response(std::string((16U << 20) + 1, ' ')), "sent an answer that is too long"},
      {HttpServer::response("{}", "401 Unauthorized"), "answered with status 401"},
      {HttpServer::response("{}", "503 Busy"), "answered with status 503"},
      {"HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n",
       "answered with status 302"},
      {"", "did not answer within 200 ms"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{", "did not answer within 200 ms"},
  };
  for (const auto& [sent, error] : cases) {
    const bool silent = error.starts_with("did not answer");
    ReadyServer server(sent);
    HttpEngine engine({.url = server->url(), .model = "m"});
    const auto ready = engine.wait_ready(60s);
    if (!silent) {
      EXPECT_EQ(error_of([&] { ready->embed(std::vector<std::string_view>{"x"}); }),
                "The embedding server " + error);
      continue;
    }
    HttpServer mute([&sent = sent](const std::string&) { return sent; });
    HttpEngine waiting({.url = mute.url(), .model = "m", .deadline = 200ms});
    while (error_of([&] { waiting.wait_ready(10ms); }) != "The embedding server " + error) {
    }
  }
  ReadyServer two(HttpServer::response(
      R"({"data":[{"index":0,"embedding":[1]},{"index":0,"embedding":[1]}]})"));
  HttpEngine engine({.url = two->url(), .model = "m"});
  const auto ready = engine.wait_ready(60s);
  EXPECT_EQ(error_of([&] {
              ready->embed(std::vector<std::string_view>{"x", "y"});
            }),
            "The embedding server sent two vectors of one index");
}

// The answer's parts as the program takes them, against a JSON library's reading of the same text.
TEST(EmbeddingAnswer, ReadsWhatALibraryReads) {
  std::mt19937 random(7);
  const auto below = [&](std::size_t n) { return random() % n; };
  const std::vector<std::string> scalars = {"0",
                                            "-3",
                                            "1.5",
                                            "1e38",
                                            "1e39",
                                            "-1e300",
                                            "null",
                                            "true",
                                            "\"[\"",
                                            "7",
                                            "18446744073709551615"};
  const std::vector<std::string> names = {"data", "index", "embedding", "other"};
  const std::function<std::string(std::size_t)> value = [&](std::size_t depth) -> std::string {
    const std::size_t what = depth == 0 ? 0 : below(4);
    if (what < 2) return scalars[below(what == 0 ? scalars.size() : 3)];
    std::string text;
    for (std::size_t i = below(4); i-- > 0;) {
      if (!text.empty()) text += ',';
      if (what == 2) text.append("\"").append(names[below(names.size())]).append("\":");
      text += value(depth - 1);
    }
    return what == 2 ? "{" + text + "}" : "[" + text + "]";
  };
  std::size_t vectors = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string text = value(5);
    for (std::size_t i = below(3); i-- > 0;) {  // and with the right names, whatever is in them
      text = R"({"other":)" + value(2) + R"(,"data":[{"embedding":)" + value(2) + R"(,"index":)" +
             value(1) + "}," + text + "," + value(3) + R"(],"other":)" + value(3) + "}";
    }
    if (below(8) == 0) text.resize(below(text.size() + 1));
    const nlohmann::json parsed = nlohmann::json::parse(text, nullptr, false);
    EmbeddingAnswer answer(3);
    ASSERT_EQ(answer.read(text), !parsed.is_discarded()) << text;
    if (parsed.is_discarded()) continue;
    const bool has_data =
        parsed.is_object() && parsed.contains("data") && parsed["data"].is_array();
    ASSERT_EQ(answer.has_data(), has_data) << text;
    if (!has_data) continue;
    const nlohmann::json& data = parsed["data"];
    ASSERT_EQ(answer.count(), data.size()) << text;
    ASSERT_EQ(answer.items().size(), std::min<std::size_t>(3, data.size()));
    for (std::size_t i = 0; i < answer.items().size(); ++i) {
      const EmbeddingItem& item = answer.items()[i];
      ASSERT_EQ(item.has_index, data[i].is_object() && data[i].contains("index")) << text;
      ASSERT_EQ(item.has_embedding, data[i].is_object() && data[i].contains("embedding")) << text;
      std::optional<std::uint64_t> index;
      if (item.has_index && data[i]["index"].is_number_unsigned()) index = data[i]["index"];
      ASSERT_EQ(item.index, index) << text;
      if (!item.has_embedding) continue;
      const auto values = float_list(data[i]["embedding"]);
      ASSERT_EQ(item.is_vector ? std::optional(item.values) : std::nullopt, values) << text;
      vectors += values && values->size() > 1;
    }
  }
  EXPECT_GT(vectors, 100U);
}

TEST(HttpEngine, ReadsNoMoreThanTheVectorsTake) {
  const auto answer = [](const std::string& numbers, std::size_t blanks) {
    return HttpServer::response(R"({"data":[{"embedding":[)" + numbers + "]}]" +
                                std::string(blanks, ' ') + "}");
  };
  std::string sent = answer("1,2", 0);
  HttpServer server([&](const std::string&) { return sent; });
  HttpEngine engine({.url = server.url(), .model = "m"});
  const auto ready = engine.wait_ready(60s);
  const auto ask = [&] {
    return error_of([&] { ready->embed(std::vector<std::string_view>{"x"}); });
  };
  sent = answer("3,4", 60'000);
  EXPECT_EQ(ask(), "no error");
  sent = answer("3,4", 70'000);  // 64 KiB, 1 KiB for the item and 40 bytes a number
  EXPECT_EQ(ask(), "The embedding server sent an answer that is too long");
}

TEST(HttpEngine, WaitsForAModelThatLoads) {
  std::atomic<bool> loaded = false;
  HttpServer server([&](const std::string&) {
    return loaded ? HttpServer::response(READY) : HttpServer::response("", "503 Loading");
  });
  HttpEngine engine({.url = server.url(), .model = "m"});
  const auto answer = [&](std::chrono::milliseconds longest) {
    return error_of([&] { engine.wait_ready(longest); });
  };
  const std::string first = answer(0ms);
  EXPECT_TRUE(first == "The embedding server has not answered yet" ||
              first == "The embedding server answered with status 503");
  while (answer(1ms) != "The embedding server answered with status 503") {
  }
  loaded = true;
  EXPECT_EQ(answer(60s), "no error");
  EXPECT_EQ(answer(0ms), "no error");
}

TEST(HttpEngine, DoesNotWaitForWhatWillNotCome) {
  std::string closed;
  {
    closed = HttpServer([](const std::string&) { return ""; }).url();
  }
  HttpServer refusing([](const std::string&) { return HttpServer::response("", "404 None"); });
  const std::vector<std::pair<std::string, std::string>> cases = {
      {closed, "The embedding server cannot be asked: Failed to connect"},
      {"file:///etc", "The embedding server cannot be asked: Protocol \"file\" not supported"},
      {refusing.url(), "The embedding server answered with status 404"},
  };
  for (const auto& [url, error] : cases) {
    HttpEngine engine({.url = url, .model = "m"});
    EXPECT_EQ(error_of([&] { engine.wait_ready(24h); }).find(error), 0U);
  }
}

}  // namespace
}  // namespace velmora::host::embedding
