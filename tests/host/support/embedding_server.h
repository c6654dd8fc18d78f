// An embedding server on loopback whose vectors a test can tell beforehand.
#pragma once

#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "support/http_server.h"

namespace velmora::host::test {

class EmbeddingServer {
 public:
  using Texts = std::vector<std::string>;
  // What is sent in place of the vectors of the request with this number, from 0; "good" for none.
  using Trouble = std::function<std::string(std::size_t number, const Texts& texts)>;

  static std::vector<float> vector_of(const std::string& text) {
    unsigned hash = 0;
    for (const char c : text) hash = hash * 31 + static_cast<unsigned char>(c);
    return {1.0F, static_cast<float>(hash % 251), static_cast<float>(hash % 241)};
  }

  static std::string good() { return "good"; }

  // The vectors of the texts, the last one first. Ends the connection, so that the next one gets
  // its turn.
  static std::string answer(const Texts& texts) {
    nlohmann::json data = nlohmann::json::array();
    for (std::size_t i = texts.size(); i-- > 0;) {
      data.push_back({{"index", i}, {"embedding", vector_of(texts[i])}});
    }
    return HttpServer::response(nlohmann::json{{"data", std::move(data)}}.dump(),
                                "200 OK\r\nConnection: close");
  }

  explicit EmbeddingServer(Trouble trouble = [](std::size_t, const Texts&) { return good(); })
      : trouble_(std::move(trouble)),
        server_([this](const std::string& request) { return respond(request); }) {}

  [[nodiscard]] std::string url() const { return server_.url(); }
  [[nodiscard]] std::string first_request() const { return server_.requests().at(0); }

  // The texts that it was asked for since the last call; of answered requests alone.
  Texts take_texts() {
    const std::lock_guard guard(lock_);
    return std::exchange(texts_, {});
  }

 private:
  std::string respond(const std::string& request) {
    const auto body = nlohmann::json::parse(request.substr(request.find("\r\n\r\n")));
    const Texts texts = body.at("input").get<Texts>();
    const std::string wrong = trouble_(number_++, texts);
    if (wrong != good()) return wrong;
    const std::lock_guard guard(lock_);
    texts_.insert(texts_.end(), texts.begin(), texts.end());
    return answer(texts);
  }

  Trouble trouble_;
  std::size_t number_ = 0;
  std::mutex lock_;
  Texts texts_;
  HttpServer server_;  // last: its thread uses the others
};

}  // namespace velmora::host::test
