#include "c_interface/settings.h"

#include <string>

#include "c_interface/arguments.h"
#include "c_interface/handles.h"
#include "c_interface/message.h"
#include "settings/settings.h"

namespace velmora::host::c_interface {
namespace {

using workers::retrieval::RetrievalSettings;

// The tokenizer lives as long as the settings.
velmora_settings settings_for_c(const RetrievalSettings& settings) {
  velmora_settings made = VELMORA_INIT(velmora_settings);
  made.rrf_k = settings.rrf_k;
  made.depth = settings.depth;
  made.semantic_shortlist = settings.semantic_shortlist;
  made.semantic_max_neighbours = settings.semantic_max_neighbours;
  made.best_files = settings.best_files;
  made.weight_name = settings.weights.name;
  made.weight_signature = settings.weights.signature;
  made.weight_path = settings.weights.path;
  made.weight_docstring = settings.weights.docstring;
  made.file_weight_names = settings.file_weights.names;
  made.file_weight_path = settings.file_weights.path;
  made.file_weight_docstrings = settings.file_weights.docstrings;
  made.tokenizer = string_of(settings.tokenizer);
  return made;
}

const RetrievalSettings& standard() {
  // Never destroyed: hosts have threads and functions that run at the end of the process.
  static const RetrievalSettings& settings = *new RetrievalSettings;
  return settings;
}

}  // namespace

RetrievalSettings settings_of(const velmora_settings& given) {
  const velmora_settings settings = taken(&given, "options->settings", settings_for_c(standard()));
  return {
      .rrf_k = settings.rrf_k,
      .depth = settings.depth,
      .semantic_shortlist = settings.semantic_shortlist,
      .semantic_max_neighbours = settings.semantic_max_neighbours,
      .best_files = settings.best_files,
      .weights = {.name = settings.weight_name,
                  .signature = settings.weight_signature,
                  .path = settings.weight_path,
                  .docstring = settings.weight_docstring},
      .file_weights = {.names = settings.file_weight_names,
                       .path = settings.file_weight_path,
                       .docstrings = settings.file_weight_docstrings},
      .tokenizer = std::string(required_text(settings.tokenizer, "options->settings->tokenizer"))};
}

}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;

velmora_code velmora_settings_default(velmora_settings* settings) noexcept {
  return c_interface::guarded([&] {
    c_interface::hand_out(c_interface::settings_for_c(c_interface::standard()), settings,
                          "settings");
  });
}

velmora_code velmora_index_settings(velmora_index* index, velmora_settings* settings) noexcept {
  return c_interface::guarded([&] {
    const auto& root = c_interface::required(index, "index").root;
    const auto ranking = velmora::host::settings::retrieval_settings(root);
    velmora_settings found = c_interface::settings_for_c(ranking);
    // No setting says another one, and this one stays.
    found.tokenizer = c_interface::string_of(c_interface::standard().tokenizer);
    c_interface::hand_out(found, settings, "settings");
  });
}
