#include "embedding/index_model.h"

#include "velmora/host/index/index_folder.h"

namespace velmora::host::embedding {

namespace fs = std::filesystem;

fs::path tuned_model_file(const fs::path& index_file) {
  return index_file.parent_path() / "tuned.model";
}

std::optional<fs::path> chosen_model_file(const std::optional<fs::path>& named,
                                          const fs::path& index_file) {
  if (named) return named;
  const fs::path tuned = tuned_model_file(index_file);
  return index::is_made_here(tuned) ? std::optional(tuned) : std::nullopt;
}

std::shared_ptr<BuiltinEngine> index_engine(const std::optional<fs::path>& named,
                                            const fs::path& index_file, const Tell& tell) {
  const std::optional<fs::path> chosen = chosen_model_file(named, index_file);
  const fs::path tuned = tuned_model_file(index_file);
  if (!chosen && index::require_plain_file(tuned)) {
    tell("The model " + tuned.string() +
         " was not made here by you and is not used; --model FILE uses it");
  }
  return std::make_shared<BuiltinEngine>(chosen.value_or(shipped_model_file()));
}

std::shared_ptr<const WordModel> indexing_model(const std::optional<fs::path>& named,
                                                const fs::path& index_file, const Tell& tell) {
  try {
    return index_engine(named, index_file, tell)->model();
  } catch (const engines::EmbeddingNotReadyError& error) {
    // To come back later would not help.
    if (chosen_model_file(named, index_file)) throw ModelFileError(error.what());
    tell(std::string(error.what()) + ". Indexing without embeddings");
    return nullptr;
  }
}

}  // namespace velmora::host::embedding
