#include "velmora/host/embedding/http_engine.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "embedding/embedding_client.h"
#include "http/json_client.h"

namespace velmora::host::embedding {
namespace {

using http::HttpError;

}  // namespace

class HttpEngine::Backend final : public engines::EmbeddingBackend {
 public:
  explicit Backend(const HttpEngineOptions& options)
      : query_prefix_(options.query_prefix),
        client_({.url = options.url,
                 .model = options.model,
                 .api_key = options.api_key,
                 .deadline = options.deadline}) {}

  Vectors embed(std::span<const std::string_view> texts) override { return embed(texts, {}); }

  Vectors embed(std::span<const std::string_view> texts, const std::stop_token& stop) {
    std::vector<std::string> questions;
    questions.reserve(texts.size());
    for (const std::string_view text : texts)
      questions.push_back(query_prefix_ + std::string(text));
    return client_.embed(questions, stop);
  }

  [[nodiscard]] std::string_view name() const override { return client_.model(); }

 private:
  const std::string query_prefix_;
  EmbeddingClient client_;
};

// Asks for a first vector until one comes.
class HttpEngine::WarmUp {
 public:
  explicit WarmUp(std::shared_ptr<Backend> backend)
      : thread_([this, backend = std::move(backend)](const std::stop_token& stop) {
          run(*backend, stop);
        }) {}

  // Throws EmbeddingNotReadyError unless a vector came.
  void wait(std::chrono::milliseconds longest) {
    std::unique_lock guard(lock_);
    changed_.wait_for(guard, longest, [this] { return ready_ || refused_; });
    if (!ready_) throw engines::EmbeddingNotReadyError(state_);
  }

 private:
  void run(Backend& backend, const std::stop_token& stop) {
    constexpr std::chrono::milliseconds LONGEST_PAUSE = std::chrono::seconds(2);
    constexpr std::string_view TEXT = "ready";
    std::chrono::milliseconds pause(50);
    while (!stop.stop_requested()) {
      try {
        static_cast<void>(backend.embed(std::array{TEXT}, stop));
        return set(true, false, {});
      } catch (const HttpError& error) {
        set(false, !error.may_pass(), error.what());
      } catch (const std::exception& error) {
        set(false, true, std::string("The embedding server cannot be asked: ") + error.what());
      }
      std::unique_lock guard(lock_);
      changed_.wait_for(guard, stop, pause, [] { return false; });
      pause = std::min(pause * 2, LONGEST_PAUSE);
    }
  }

  void set(bool ready, bool refused, std::string state) {
    const std::lock_guard guard(lock_);
    ready_ = ready;
    refused_ = refused;
    state_ = std::move(state);
    changed_.notify_all();
  }

  std::mutex lock_;
  std::condition_variable_any changed_;
  bool ready_ = false;
  bool refused_ = false;  // by the last answer: waiting is of no use
  std::string state_ = "The embedding server has not answered yet";
  std::jthread thread_;  // last: it uses the others, and ends first
};

HttpEngine::HttpEngine(HttpEngineOptions options)
    : backend_(std::make_shared<Backend>(options)), warm_up_(std::make_unique<WarmUp>(backend_)) {}

HttpEngine::~HttpEngine() = default;

std::shared_ptr<engines::EmbeddingBackend> HttpEngine::wait_ready(
    std::chrono::milliseconds longest) {
  warm_up_->wait(longest);
  return backend_;
}

}  // namespace velmora::host::embedding
