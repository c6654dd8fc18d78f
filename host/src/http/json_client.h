// Asks a server questions in JSON.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::http {

// No usable answer came. The message names the server, begins a sentence, has no final full stop
// and never holds the key.
class HttpError : public std::runtime_error {
 public:
  explicit HttpError(const std::string& message, long status = 0, bool late = false,
                     std::chrono::seconds retry_after = {})
      : std::runtime_error(message), status_(status), late_(late), retry_after_(retry_after) {}

  // The status of the answer, or 0 when none came.
  [[nodiscard]] long status() const { return status_; }
  // Whether the same question may be answered later: the server is overloaded (429), has trouble
  // of its own (5xx) or did not answer in time.
  [[nodiscard]] bool may_pass() const { return late_ || status_ == 429 || status_ >= 500; }
  // How long the server asks to be left alone; 0 when it does not say.
  [[nodiscard]] std::chrono::seconds retry_after() const { return retry_after_; }

 private:
  long status_;
  bool late_;
  std::chrono::seconds retry_after_;
};

struct JsonClientOptions {
  std::string who;      // begins every message: "The embedding server"
  std::string url;      // http or https
  std::string api_key;  // sent as a bearer token; empty: none
  // The longest that an answer may take, from the name look-up to the last byte.
  std::chrono::milliseconds deadline = std::chrono::seconds(5);
};

// Keeps its connections open between questions. Any number of threads may ask at once.
class JsonClient {
 public:
  // Throws std::invalid_argument for a key that cannot stand in a header.
  explicit JsonClient(JsonClientOptions options);

  // The answer to `POST {url}`. Follows no redirection and reads no more than 16 MiB. A stop that
  // is requested ends the wait within a second. Throws HttpError for anything but an answer with
  // status 200 in JSON.
  [[nodiscard]] nlohmann::json post(const nlohmann::json& question, std::stop_token stop = {});

  // An HttpError of this server; `what` stands behind its name.
  [[nodiscard]] HttpError error(const std::string& what) const;

 private:
  struct Cleanup {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
  };
  using Handle = std::unique_ptr<CURL, Cleanup>;

  void add_header(const std::string& header);
  Handle take();
  [[nodiscard]] std::string perform(CURL* curl, const std::string& body,
                                    const std::stop_token& stop) const;

  const JsonClientOptions options_;
  std::unique_ptr<curl_slist, Cleanup> headers_;
  std::mutex lock_;
  std::vector<Handle> idle_;
};

}  // namespace velmora::host::http
