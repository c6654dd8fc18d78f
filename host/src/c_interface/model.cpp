// velmora_model_open, _name, _dimensions, _embed and _close.
#include <memory>
#include <span>

#include "c_interface/arguments.h"
#include "c_interface/message.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/word_model.h"

namespace c_interface = velmora::host::c_interface;
namespace embedding = velmora::host::embedding;

struct velmora_model {
  const std::shared_ptr<const embedding::WordModel> words;
};

velmora_code velmora_model_open(velmora_string file, velmora_model** model) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(model, "model") = nullptr;
    const auto named = c_interface::optional_path(file, "file");
    *model = new velmora_model{
        embedding::WordModel::open(named ? *named : embedding::shipped_model_file())};
  });
}

velmora_string velmora_model_name(const velmora_model* model) noexcept {
  return model == nullptr ? velmora_string{} : c_interface::string_of(model->words->name());
}

size_t velmora_model_dimensions(const velmora_model* model) noexcept {
  return model == nullptr ? 0 : model->words->dimensions();
}

velmora_code velmora_model_embed(const velmora_model* model, const velmora_symbol* symbol,
                                 velmora_string body, float* values) noexcept {
  return c_interface::guarded([&] {
    c_interface::require(model != nullptr, "model");
    c_interface::require(symbol != nullptr, "symbol");
    c_interface::require(values != nullptr, "values");
    const velmora_symbol given = c_interface::taken(symbol, "symbol");
    using c_interface::text_of;
    model->words->embed_symbol({.name = text_of(given.name),
                                .fqn = text_of(given.fqn),
                                .signature = text_of(given.signature),
                                .path = text_of(given.path),
                                .docstring = text_of(given.docstring),
                                .body = text_of(body)},
                               std::span(values, model->words->dimensions()));
  });
}

void velmora_model_close(velmora_model* model) noexcept { delete model; }
