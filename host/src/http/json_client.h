// Asks a server questions in JSON.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/curl.h"

namespace velmora::host::http {

// No usable answer came. The message names the server, begins a sentence, has no final full stop
// and never holds the key.
class HttpError : public std::runtime_error {
 public:
  enum class Cause {
    answer,       // an answer came, and is of no use
    late,         // none came in time
    lost,         // the connection broke before the answer was whole
    unreachable,  // no connection was made
    other,
  };

  HttpError(const std::string& message, Cause cause) : HttpError(message, cause, 0, {}, {}) {}
  // Of an answer whose status is not 200.
  HttpError(const std::string& message, long status, std::chrono::seconds retry_after,
            std::string answer)
      : HttpError(message, Cause::answer, status, retry_after, std::move(answer)) {}

  [[nodiscard]] Cause cause() const { return cause_; }
  // The status of the answer, or 0 when it was 200 or none came.
  [[nodiscard]] long status() const { return status_; }
  // Whether the same question may be answered later: the server is overloaded (429), has trouble
  // of its own (5xx) or did not answer in time.
  [[nodiscard]] bool may_pass() const {
    return cause_ == Cause::late || status_ == 429 || status_ >= 500;
  }
  // How long the server asks to be left alone; 0 when it does not say.
  [[nodiscard]] std::chrono::seconds retry_after() const { return retry_after_; }
  // The body of an answer whose status is not 200; empty when it is too long to be an explanation.
  [[nodiscard]] const std::string& answer() const { return answer_; }

 private:
  HttpError(const std::string& message, Cause cause, long status, std::chrono::seconds retry_after,
            std::string answer)
      : std::runtime_error(message),
        cause_(cause),
        status_(status),
        retry_after_(retry_after),
        answer_(std::move(answer)) {}

  Cause cause_;
  long status_;
  std::chrono::seconds retry_after_;
  std::string answer_;
};

struct JsonClientOptions {
  std::string who;      // begins every message: "The embedding server"
  std::string url;      // http or https
  std::string api_key;  // sent as a bearer token; empty: none
  // The longest that an answer may take, from the name look-up to the last byte.
  std::chrono::milliseconds deadline = std::chrono::seconds(5);
};

// "http://host/v1" or "http://host/v1/" and "rerank": "http://host/v1/rerank".
[[nodiscard]] std::string endpoint(std::string url, std::string_view name);

// Whether the server of a URL is this machine, by its name: localhost, a name below it, an address
// of 127.0.0.0/8, ::1, or one that a connection takes for these (0.0.0.0/8, ::, ::ffff:127.0.0.1).
// Throws as curl() does.
[[nodiscard]] bool is_on_loopback(const std::string& url);

// Keeps its connections open between questions. A server on loopback is reached directly, any other
// through the proxy that the environment names for it. Certificates are checked. Any number of
// threads may ask at once. Without libcurl no question is answered.
class JsonClient {
 public:
  // Throws std::invalid_argument for a key that cannot stand in a header.
  explicit JsonClient(JsonClientOptions options);

  // The body of the answer to `POST {url}`. Follows no redirection and reads no more than `longest`
  // bytes. A stop that is requested ends the wait within a second. Throws HttpError for anything
  // but an answer with status 200.
  [[nodiscard]] std::string post(const nlohmann::json& question, std::size_t longest,
                                 const std::stop_token& stop = {});

  // An HttpError about an answer of this server; `what` stands behind its name.
  [[nodiscard]] HttpError error(const std::string& what) const;
  // The one about an answer that is not JSON.
  [[nodiscard]] HttpError not_json() const { return error("sent an answer that is not JSON"); }

 private:
  struct Cleanup {
    void operator()(CURL* handle) const noexcept { curl().easy_cleanup(handle); }
    void operator()(curl_slist* list) const noexcept { curl().slist_free_all(list); }
  };
  // A connection, and the headers that it sends.
  struct Connection {
    std::unique_ptr<curl_slist, Cleanup> headers = {};
    std::unique_ptr<CURL, Cleanup> handle = {};
  };

  Connection take();
  [[nodiscard]] Connection connect() const;
  [[nodiscard]] std::string perform(CURL* handle, const std::string& body, std::size_t longest,
                                    const std::stop_token& stop) const;

  const JsonClientOptions options_;
  std::mutex lock_;
  std::vector<Connection> idle_;
};

}  // namespace velmora::host::http
