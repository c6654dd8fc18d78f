#include "embedding/embedding_answer.h"

#include "embedding/float_list.h"

namespace velmora::host::embedding {
namespace {

constexpr std::string_view INDEX = "index";
constexpr std::string_view EMBEDDING = "embedding";

}  // namespace

bool EmbeddingAnswer::read(const std::string& text) {
  return nlohmann::json::sax_parse(text, this);
}

// Every value comes through here before anything else happens.
void EmbeddingAnswer::begin_value(bool is_object, bool is_array) {
  const bool is_container = is_object || is_array;
  if (skipped_ > 0) {
    if (is_container) ++skipped_;
    return;
  }
  bool enters = false;  // the next place; any other container is skipped
  switch (place_) {
    case Place::outside:
      enters = is_object;
      break;
    case Place::top:
      if (name_ != "data") break;
      has_data_ = enters = is_array;
      count_ = 0;
      items_.clear();
      break;
    case Place::data:
      enters = is_object && count_ < most_;
      if (count_++ < most_) items_.emplace_back();
      break;
    case Place::item:
      if (name_ == INDEX) {
        items_.back().has_index = true;
        items_.back().index.reset();
      } else if (name_ == EMBEDDING) {
        items_.back().has_embedding = true;
        items_.back().is_vector = enters = is_array;
        items_.back().values.clear();
      }
      break;
    case Place::embedding:
      items_.back().is_vector = false;
      break;
  }
  if (enters) {
    place_ = static_cast<Place>(static_cast<int>(place_) + 1);
  } else if (is_container) {
    skipped_ = 1;
  }
}

void EmbeddingAnswer::end_container() {
  if (skipped_ > 0) {
    --skipped_;
  } else {
    place_ = static_cast<Place>(static_cast<int>(place_) - 1);
  }
}

void EmbeddingAnswer::number(double value) {
  if (skipped_ > 0 || place_ != Place::embedding) return other_value();
  EmbeddingItem& item = items_.back();
  const std::optional<float> held = as_float(value);
  if (!held) item.is_vector = false;
  if (item.is_vector) item.values.push_back(*held);
}

bool EmbeddingAnswer::null() {
  other_value();
  return true;
}

bool EmbeddingAnswer::boolean(bool) {
  other_value();
  return true;
}

bool EmbeddingAnswer::number_integer(std::int64_t value) {
  number(static_cast<double>(value));
  return true;
}

bool EmbeddingAnswer::number_unsigned(std::uint64_t value) {
  number(static_cast<double>(value));
  if (skipped_ == 0 && place_ == Place::item && name_ == INDEX) items_.back().index = value;
  return true;
}

bool EmbeddingAnswer::number_float(double value, const std::string&) {
  number(value);
  return true;
}

bool EmbeddingAnswer::string(std::string&) {
  other_value();
  return true;
}

bool EmbeddingAnswer::binary(nlohmann::json::binary_t&) {
  other_value();
  return true;
}

bool EmbeddingAnswer::start_object(std::size_t) {
  begin_value(true, false);
  return true;
}

bool EmbeddingAnswer::start_array(std::size_t) {
  begin_value(false, true);
  return true;
}

bool EmbeddingAnswer::key(std::string& name) {
  if (skipped_ == 0) name_ = name;
  return true;
}

bool EmbeddingAnswer::end_object() {
  end_container();
  return true;
}

bool EmbeddingAnswer::end_array() {
  end_container();
  return true;
}

bool EmbeddingAnswer::parse_error(std::size_t, const std::string&,
                                  const nlohmann::json::exception&) {
  return false;
}

}  // namespace velmora::host::embedding
