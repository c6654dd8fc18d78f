#include "c_interface/embedder.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "c_interface/arguments.h"
#include "c_interface/message.h"

struct velmora_vector {
  std::optional<velmora::workers::retrieval::QueryVector> value;
};

namespace velmora::host::c_interface {

CallbackEmbedder::CallbackEmbedder(const velmora_embedder& given)
    : table_(taken(&given, "options->embedder")), self_(table_.self, table_.release) {
  require(table_.embed != nullptr, "options->embedder->embed");
}

workers::retrieval::QueryVector CallbackEmbedder::embed(std::string_view query) const {
  velmora_vector vector;
  call("embed", table_.embed, table_.self, string_of(query), &vector);
  if (!vector.value) throw std::runtime_error("embed put no vector");
  return *std::move(vector.value);
}

}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;

velmora_code velmora_put_vector(velmora_vector* out, const float* values, size_t count,
                                velmora_string model) noexcept {
  return c_interface::guarded([&] {
    c_interface::require(out != nullptr, "out");
    c_interface::require(values != nullptr || count == 0, "values");
    out->value = {.values = std::vector<float>(values, values + count),
                  .model = std::string(c_interface::required_text(model, "model"))};
  });
}
