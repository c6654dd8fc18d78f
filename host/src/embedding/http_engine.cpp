#include "velmora/host/embedding/http_engine.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "embedding/float_list.h"
#include "http/json_client.h"

namespace velmora::host::embedding {
namespace {

using http::HttpError;
using nlohmann::json;
using Vectors = std::vector<std::vector<float>>;

std::string endpoint(std::string url) {
  while (url.ends_with('/')) url.pop_back();
  return url + "/embeddings";
}

}  // namespace

class HttpEngine::Backend final : public engines::EmbeddingBackend {
 public:
  explicit Backend(const HttpEngineOptions& options)
      : model_(options.model),
        query_prefix_(options.query_prefix),
        client_({.who = "The embedding server",
                 .url = endpoint(options.url),
                 .api_key = options.api_key,
                 .deadline = options.deadline}) {}

  Vectors embed(std::span<const std::string_view> texts) override { return embed(texts, {}); }

  Vectors embed(std::span<const std::string_view> texts, std::stop_token stop) {
    json input = json::array();
    for (const std::string_view text : texts) input.push_back(query_prefix_ + std::string(text));
    return vectors_of(client_.post({{"model", model_}, {"input", std::move(input)}}, stop),
                      texts.size());
  }

  [[nodiscard]] std::string_view name() const override { return model_; }

 private:
  // The vectors of an answer in the order of the texts.
  [[nodiscard]] Vectors vectors_of(const json& answer, std::size_t count) const {
    const auto data = answer.find("data");
    if (!answer.is_object() || data == answer.end() || !data->is_array()) {
      throw client_.error("sent no list \"data\"");
    }
    if (data->size() != count) {
      throw client_.error("sent " + std::to_string(data->size()) + " vectors for " +
                          std::to_string(count) + (count == 1 ? " text" : " texts"));
    }
    Vectors vectors(count);
    for (std::size_t position = 0; position < count; ++position) {
      const json& item = (*data)[position];
      std::vector<float>& vector = vectors[place_of(item, position, count)];
      if (!vector.empty()) throw client_.error("sent two vectors of one index");
      vector = vector_of(item);
      if (vector.size() != vectors[place_of((*data)[0], 0, count)].size()) {
        throw client_.error("sent vectors of different lengths");
      }
    }
    return vectors;
  }

  [[nodiscard]] std::size_t place_of(const json& item, std::size_t position,
                                     std::size_t count) const {
    if (!item.is_object() || !item.contains("index")) return position;
    const json& index = item.at("index");
    if (!index.is_number_unsigned() || index.get<std::uint64_t>() >= count) {
      throw client_.error("sent an index that no text has");
    }
    return index.get<std::size_t>();
  }

  [[nodiscard]] std::vector<float> vector_of(const json& item) const {
    if (!item.is_object() || !item.contains("embedding")) {
      throw client_.error("sent an item without \"embedding\"");
    }
    std::optional<std::vector<float>> values = float_list(item.at("embedding"));
    if (!values) {
      throw client_.error("sent an embedding that is not a list of finite 32-bit numbers");
    }
    if (values->empty()) throw client_.error("sent an empty vector");
    if (std::ranges::all_of(*values, [](float value) { return value == 0.0F; })) {
      throw client_.error("sent a vector that is all zero");
    }
    return *std::move(values);
  }

  const std::string model_;
  const std::string query_prefix_;
  http::JsonClient client_;
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
