#include "embedding/embedding_client.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "embedding/float_list.h"

namespace velmora::host::embedding {
namespace {

using nlohmann::json;

std::string endpoint(std::string url) {
  while (url.ends_with('/')) url.pop_back();
  return url + "/embeddings";
}

}  // namespace

EmbeddingClient::EmbeddingClient(const EmbeddingClientOptions& options)
    : model_(options.model),
      client_({.who = "The embedding server",
               .url = endpoint(options.url),
               .api_key = options.api_key,
               .deadline = options.deadline,
               .longest_answer = options.longest_answer}) {}

Vectors EmbeddingClient::embed(std::span<const std::string> texts, std::stop_token stop) {
  json input = json::array();
  for (const std::string& text : texts) input.push_back(text);
  return vectors_of(client_.post({{"model", model_}, {"input", std::move(input)}}, stop),
                    texts.size());
}

// The vectors of an answer in the order of the texts.
Vectors EmbeddingClient::vectors_of(const json& answer, std::size_t count) const {
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

std::size_t EmbeddingClient::place_of(const json& item, std::size_t position,
                                      std::size_t count) const {
  if (!item.is_object() || !item.contains("index")) return position;
  const json& index = item.at("index");
  if (!index.is_number_unsigned() || index.get<std::uint64_t>() >= count) {
    throw client_.error("sent an index that no text has");
  }
  return index.get<std::size_t>();
}

std::vector<float> EmbeddingClient::vector_of(const json& item) const {
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

}  // namespace velmora::host::embedding
