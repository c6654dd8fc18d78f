#include "embedding/embedding_client.h"

#include <algorithm>
#include <utility>

namespace velmora::host::embedding {
namespace {

using nlohmann::json;

// Room for the answer and for each of its items, beside the numbers.
constexpr std::size_t ANSWER_BYTES = std::size_t{64} << 10;
constexpr std::size_t ITEM_BYTES = 1024;
// The longest that a double is written, on a line of its own and indented.
constexpr std::size_t NUMBER_BYTES = 40;
// More than the models of today have.
constexpr std::size_t MOST_NUMBERS = 16'384;
// More in one answer than a request is made for; smaller ones are the way then.
constexpr std::size_t LONGEST_ANSWER = std::size_t{256} << 20;

}  // namespace

EmbeddingClient::EmbeddingClient(const EmbeddingClientOptions& options)
    : model_(options.model),
      client_({.who = "The embedding server",
               .url = http::endpoint(options.url, "embeddings"),
               .api_key = options.api_key,
               .deadline = options.deadline}) {}

Vectors EmbeddingClient::embed(std::span<const std::string> texts, const std::stop_token& stop) {
  json input = json::array();
  for (const std::string& text : texts) input.push_back(text);
  EmbeddingAnswer answer(texts.size());
  if (!answer.read(client_.post({{"model", model_}, {"input", std::move(input)}},
                                longest_answer(texts.size()), stop))) {
    throw client_.not_json();
  }
  Vectors vectors = vectors_of(answer, texts.size());
  if (!vectors.empty()) length_ = vectors.front().size();
  return vectors;
}

std::size_t EmbeddingClient::longest_answer(std::size_t texts) const {
  const std::size_t known = length_;
  const std::size_t numbers = known == 0 ? MOST_NUMBERS : known;
  return std::min(ANSWER_BYTES + texts * (ITEM_BYTES + numbers * NUMBER_BYTES), LONGEST_ANSWER);
}

// The vectors of an answer in the order of the texts.
Vectors EmbeddingClient::vectors_of(EmbeddingAnswer& answer, std::size_t count) const {
  if (!answer.has_data()) throw client_.error("sent no list \"data\"");
  if (answer.count() != count) {
    throw client_.error("sent " + std::to_string(answer.count()) + " vectors for " +
                        std::to_string(count) + (count == 1 ? " text" : " texts"));
  }
  Vectors vectors(count);
  for (std::size_t position = 0; position < count; ++position) {
    EmbeddingItem& item = answer.items()[position];
    std::vector<float>& vector = vectors[place_of(item, position, count)];
    if (!vector.empty()) throw client_.error("sent two vectors of one index");
    vector = vector_of(item);
    if (vector.size() != vectors[place_of(answer.items()[0], 0, count)].size()) {
      throw client_.error("sent vectors of different lengths");
    }
  }
  return vectors;
}

std::size_t EmbeddingClient::place_of(const EmbeddingItem& item, std::size_t position,
                                      std::size_t count) const {
  if (!item.has_index) return position;
  if (!item.index || *item.index >= count) {
    throw client_.error("sent an index that no text has");
  }
  return static_cast<std::size_t>(*item.index);
}

std::vector<float> EmbeddingClient::vector_of(EmbeddingItem& item) const {
  if (!item.has_embedding) throw client_.error("sent an item without \"embedding\"");
  if (!item.is_vector) {
    throw client_.error("sent an embedding that is not a list of finite 32-bit numbers");
  }
  if (item.values.empty()) throw client_.error("sent an empty vector");
  if (std::ranges::all_of(item.values, [](float value) { return value == 0.0F; })) {
    throw client_.error("sent a vector that is all zero");
  }
  return std::move(item.values);
}

}  // namespace velmora::host::embedding
