// What an embedding server answers, read straight into floats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace velmora::host::embedding {

// An element of the answer's list.
struct EmbeddingItem {
  bool has_index = false;
  std::optional<std::uint64_t> index = {};  // nothing when it is anything but a whole number
  bool has_embedding = false;
  bool is_vector = false;  // the embedding is a list of numbers that a float can hold
  std::vector<float> values = {};
};

// Takes a JSON text apart as it is read: {"data": [{"index", "embedding": [NUMBER, ...]}, ...]},
// and whatever else the server tells. Of a name that is repeated, the last one counts. Nothing is
// kept but the numbers, so the memory is a small multiple of the text's length however it is
// nested.
class EmbeddingAnswer final : public nlohmann::json_sax<nlohmann::json> {
 public:
  // Keeps `most` items, and counts those beyond.
  explicit EmbeddingAnswer(std::size_t most) : most_(most) {}

  // False when the text is not JSON.
  [[nodiscard]] bool read(const std::string& text);

  // Whether there is a list "data".
  [[nodiscard]] bool has_data() const { return has_data_; }
  // How long it is.
  [[nodiscard]] std::size_t count() const { return count_; }
  // Its elements, as many as are kept.
  [[nodiscard]] std::vector<EmbeddingItem>& items() { return items_; }

  bool null() override;
  bool boolean(bool) override;
  bool number_integer(std::int64_t value) override;
  bool number_unsigned(std::uint64_t value) override;
  bool number_float(double value, const std::string& text) override;
  bool string(std::string& value) override;
  bool binary(nlohmann::json::binary_t& value) override;
  bool start_object(std::size_t) override;
  bool key(std::string& name) override;
  bool end_object() override;
  bool start_array(std::size_t) override;
  bool end_array() override;
  bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception&) override;

 private:
  // Where a value stands; each place is in the one before it.
  enum class Place { outside, top, data, item, embedding };

  void begin_value(bool is_object, bool is_array);
  void other_value() { begin_value(false, false); }
  void number(double value);
  void end_container();

  const std::size_t most_;
  std::size_t count_ = 0;
  bool has_data_ = false;
  std::vector<EmbeddingItem> items_;
  Place place_ = Place::outside;
  std::size_t skipped_ = 0;  // how deep the walk is in something that nobody asks for
  std::string name_;         // of the value that comes next, in `top` and `item`
};

}  // namespace velmora::host::embedding
