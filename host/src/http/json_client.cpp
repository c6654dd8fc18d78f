#include "http/json_client.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace velmora::host::http {
namespace {

// What a server says of a refusal is a sentence or two; a page or worse tells nobody anything.
constexpr std::size_t LONGEST_EXPLANATION = std::size_t{64} << 10;

struct UrlCleanup {
  void operator()(CURLU* url) const noexcept { curl().url_cleanup(url); }
};

// The host of a URL in lower case, an address in its usual form; empty when it has none.
std::string host_of(const std::string& url) {
  const std::unique_ptr<CURLU, UrlCleanup> parts(curl().url());
  if (!parts) throw std::bad_alloc();
  char* host = nullptr;
  if (curl().url_set(parts.get(), CURLUPART_URL, url.c_str(), CURLU_GUESS_SCHEME) != CURLUE_OK ||
      curl().url_get(parts.get(), CURLUPART_HOST, &host, 0) != CURLUE_OK) {
    return {};
  }
  std::string name = host;
  curl().free(host);
  std::ranges::transform(name, name.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
  });
  if (name.ends_with('.')) name.pop_back();
  if (name.starts_with('[') && name.ends_with(']')) name = name.substr(1, name.size() - 2);
  return name;
}

// The body of an answer, as far as it came.
struct Body {
  std::string text;
  std::size_t longest = 0;
};

// Appends to the answer; taking fewer bytes than were offered ends the transfer.
std::size_t receive(const char* data, std::size_t, std::size_t size, void* target) noexcept {
  Body& body = *static_cast<Body*>(target);
  if (size > body.longest - body.text.size()) return 0;
  try {
    body.text.append(data, size);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return size;
}

HttpError::Cause cause_of(CURLcode code) {
  switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
      return HttpError::Cause::late;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return HttpError::Cause::lost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_COULDNT_RESOLVE_HOST:
      return HttpError::Cause::unreachable;
    default:
      return HttpError::Cause::other;
  }
}

// Called now and then during a transfer; anything but 0 ends it.
int stop_wanted(void* stop, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept {
  return static_cast<const std::stop_token*>(stop)->stop_requested() ? 1 : 0;
}

}  // namespace

std::string endpoint(std::string url, std::string_view name) {
  while (url.ends_with('/')) url.pop_back();
  return url.append("/").append(name);
}

bool is_on_loopback(const std::string& url) {
  const std::string host = host_of(url);
  if (host == "localhost" || host.ends_with(".localhost")) return true;
  in6_addr six{};
  // An address of four numbers, written as one of the longer kind.
  if (::inet_pton(AF_INET6, ("::ffff:" + host).c_str(), &six) != 1 &&
      ::inet_pton(AF_INET6, host.c_str(), &six) != 1) {
    return false;
  }
  if (!IN6_IS_ADDR_V4MAPPED(&six)) {
    return IN6_IS_ADDR_LOOPBACK(&six) || IN6_IS_ADDR_UNSPECIFIED(&six);
  }
  constexpr std::size_t FOUR_AT = 12;
  return six.s6_addr[FOUR_AT] == 127 || six.s6_addr[FOUR_AT] == 0;
}

JsonClient::JsonClient(JsonClientOptions options) : options_(std::move(options)) {
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  if (std::ranges::any_of(options_.api_key, is_control)) {
    throw std::invalid_argument("The API key holds a control character");
  }
}

HttpError JsonClient::error(const std::string& what) const {
  return HttpError(options_.who + " " + what, HttpError::Cause::answer);
}

std::string JsonClient::post(const nlohmann::json& question, std::size_t longest,
                             const std::stop_token& stop) {
  const std::string body = question.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  Connection connection = take();
  std::string answer = perform(connection.handle.get(), body, longest, stop);
  // Not after a failure: such a connection is not used again.
  const std::lock_guard guard(lock_);
  idle_.push_back(std::move(connection));
  return answer;
}

JsonClient::Connection JsonClient::take() {
  {
    const std::lock_guard guard(lock_);
    if (!idle_.empty()) {
      Connection connection = std::move(idle_.back());
      idle_.pop_back();
      return connection;
    }
  }
  try {
    return connect();
  } catch (const std::runtime_error& no_curl) {
    throw HttpError(options_.who + " cannot be asked: " + no_curl.what(), HttpError::Cause::other);
  }
}

JsonClient::Connection JsonClient::connect() const {
  const Curl& curl = http::curl();
  Connection made;
  const auto add_header = [&](const std::string& header) {
    // The list goes on where it was: the new element is at its end.
    curl_slist* const list = curl.slist_append(made.headers.get(), header.c_str());
    if (list == nullptr) throw std::bad_alloc();
    static_cast<void>(made.headers.release());
    made.headers.reset(list);
  };
  add_header("Content-Type: application/json");
  if (!options_.api_key.empty()) add_header("Authorization: Bearer " + options_.api_key);
  made.handle.reset(curl.easy_init());
  if (!made.handle) throw std::bad_alloc();
  CURL* const handle = made.handle.get();
  curl.easy_setopt(handle, CURLOPT_URL, options_.url.c_str());
  curl.easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl.easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
  curl.easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl.easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  // Who names a server on this machine means that nobody else sees the key and the texts.
  if (is_on_loopback(options_.url)) curl.easy_setopt(handle, CURLOPT_PROXY, "");
  curl.easy_setopt(handle, CURLOPT_HTTPHEADER, made.headers.get());
  curl.easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(options_.deadline.count()));
  curl.easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);  // signals and threads do not mix
  // A name look-up that hangs is left behind, or it would hold the question beyond its deadline.
  curl.easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
  curl.easy_setopt(handle, CURLOPT_WRITEFUNCTION, receive);
  curl.easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
  curl.easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, stop_wanted);
  return made;
}

std::string JsonClient::perform(CURL* handle, const std::string& body, std::size_t longest,
                                const std::stop_token& stop) const {
  Body answer{.text = {}, .longest = longest};
  const Curl& curl = http::curl();
  std::array<char, CURL_ERROR_SIZE> reason{};
  curl.easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl.easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
  curl.easy_setopt(handle, CURLOPT_WRITEDATA, &answer);
  curl.easy_setopt(handle, CURLOPT_XFERINFODATA, const_cast<std::stop_token*>(&stop));
  curl.easy_setopt(handle, CURLOPT_ERRORBUFFER, reason.data());
  const CURLcode code = curl.easy_perform(handle);
  curl.easy_setopt(handle, CURLOPT_ERRORBUFFER, nullptr);
  if (code == CURLE_OPERATION_TIMEDOUT) {
    throw HttpError(options_.who + " did not answer within " +
                        std::to_string(options_.deadline.count()) + " ms",
                    cause_of(code));
  }
  if (code == CURLE_WRITE_ERROR) throw error("sent an answer that is too long");
  if (code != CURLE_OK) {
    throw HttpError(options_.who + " cannot be asked: " +
                        std::string(reason[0] != '\0' ? reason.data() : curl.easy_strerror(code)),
                    cause_of(code));
  }
  long status = 0;
  curl.easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
  if (status != 200) {
    if (answer.text.size() > LONGEST_EXPLANATION) answer.text.clear();
    curl_off_t seconds = 0;  // stays so when the server names none; below it for a date gone by
    curl.easy_getinfo(handle, CURLINFO_RETRY_AFTER, &seconds);
    throw HttpError(options_.who + " answered with status " + std::to_string(status), status,
                    std::chrono::seconds(std::max<curl_off_t>(seconds, 0)), std::move(answer.text));
  }
  return std::move(answer.text);
}

}  // namespace velmora::host::http
