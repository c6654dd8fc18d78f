#include "velmora/host/embedding/http_embedder.h"

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "embedding/float_list.h"

namespace velmora::host::embedding {
namespace {

using workers::retrieval::QueryVector;

constexpr std::size_t LONGEST_ANSWER = std::size_t{16} << 20;

[[noreturn]] void fail(const std::string& reason) {
  throw std::runtime_error("the embedding server " + reason);
}

struct Cleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using Handle = std::unique_ptr<CURL, Cleanup>;

// Appends to the answer; taking fewer bytes than were offered ends the transfer.
std::size_t receive(const char* data, std::size_t, std::size_t size, void* target) noexcept {
  std::string& answer = *static_cast<std::string*>(target);
  if (answer.size() + size > LONGEST_ANSWER) return 0;
  try {
    answer.append(data, size);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return size;
}

// The vector in an answer.
std::vector<float> vector_of(const std::string& answer) {
  const nlohmann::json parsed = nlohmann::json::parse(answer, nullptr, false);
  const auto at = nlohmann::json::json_pointer("/data/0/embedding");
  if (parsed.is_discarded()) fail("sent an answer that is not JSON");
  if (!parsed.contains(at)) fail("sent no data[0].embedding");
  std::optional<std::vector<float>> values = float_list(parsed.at(at));
  if (!values) fail("sent an embedding that is not a list of finite 32-bit numbers");
  if (values->empty()) fail("sent an empty vector");
  return *std::move(values);
}

class HttpEmbedder {
 public:
  explicit HttpEmbedder(HttpEmbedderOptions options) : options_(std::move(options)) {
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (initialised != CURLE_OK) throw std::runtime_error("libcurl cannot be initialised");
    while (options_.url.ends_with('/')) options_.url.pop_back();
    options_.url += "/embeddings";
    headers_.reset(curl_slist_append(nullptr, "Content-Type: application/json"));
    if (!headers_) throw std::bad_alloc();
  }

  QueryVector embed(std::string_view query) {
    Handle handle = take();
    std::vector<float> values = vector_of(post(handle.get(), query));
    give_back(std::move(handle));  // not after a failure: such a connection is not used again
    return {std::move(values), options_.model};
  }

 private:
  Handle take() {
    {
      const std::lock_guard guard(lock_);
      if (!idle_.empty()) {
        Handle handle = std::move(idle_.back());
        idle_.pop_back();
        return handle;
      }
    }
    Handle handle(curl_easy_init());
    if (!handle) throw std::bad_alloc();
    CURL* const curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_URL, options_.url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers_.get());
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(options_.deadline.count()));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);  // signals and threads do not mix
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, receive);
    return handle;
  }

  void give_back(Handle handle) {
    const std::lock_guard guard(lock_);
    idle_.push_back(std::move(handle));
  }

  std::string post(CURL* curl, std::string_view query) const {
    const nlohmann::json request = {{"model", options_.model},
                                    {"input", nlohmann::json::array({query})}};
    const std::string body = request.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::string answer;
    std::array<char, CURL_ERROR_SIZE> reason{};
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, reason.data());
    const CURLcode code = curl_easy_perform(curl);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
    if (code == CURLE_OPERATION_TIMEDOUT) {
      fail("did not answer within " + std::to_string(options_.deadline.count()) + " ms");
    }
    if (code == CURLE_WRITE_ERROR) fail("sent an answer that is too long");
    if (code != CURLE_OK) {
      fail("cannot be asked: " +
           std::string(reason[0] != '\0' ? reason.data() : curl_easy_strerror(code)));
    }
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (status != 200) fail("answered with status " + std::to_string(status));
    return answer;
  }

  HttpEmbedderOptions options_;
  std::unique_ptr<curl_slist, Cleanup> headers_;
  std::mutex lock_;
  std::vector<Handle> idle_;
};

}  // namespace

workers::retrieval::QueryEmbedder http_query_embedder(HttpEmbedderOptions options) {
  return [embedder = std::make_shared<HttpEmbedder>(std::move(options))](std::string_view query) {
    return embedder->embed(query);
  };
}

}  // namespace velmora::host::embedding
