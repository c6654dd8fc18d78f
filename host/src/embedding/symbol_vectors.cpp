#include "velmora/host/embedding/symbol_vectors.h"

#include <algorithm>
#include <span>

#include "velmora/workers/retrieval.h"

namespace velmora::host::embedding {

std::int64_t embed_symbols(index::Update& update, const WordModel& model,
                           const std::function<void(std::int64_t, std::int64_t)>& progress) {
  std::int64_t read = 0;
  const std::int64_t all = update.waiting_for(model.name());
  const auto vector_of = [&](const storage::SymbolRow& symbol, std::string_view words,
                             std::span<float> vector) {
    progress(read++, all);
    if (!workers::retrieval::RETRIEVABLE_KINDS.contains(symbol.kind)) return false;
    model.embed_symbol({.name = symbol.name,
                        .fqn = symbol.fqn,
                        .signature = symbol.signature.value_or(""),
                        .path = symbol.path,
                        .docstring = symbol.docstring.value_or(""),
                        .body = words},
                       vector);
    return std::ranges::any_of(vector, [](float value) { return value != 0.0F; });
  };
  return update.embed(model.name(), model.dimensions(), vector_of);
}

}  // namespace velmora::host::embedding
