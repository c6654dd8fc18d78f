// The program's own embedding model, which needs no server and is ready at once.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "velmora/engines/embedding.h"
#include "velmora/export.h"
#include "velmora/host/embedding/word_model.h"

namespace velmora::host::embedding {

// Hands out the model of a file. Any number of threads may ask.
class VELMORA_API BuiltinEngine final : public engines::EmbeddingEngine {
 public:
  // The file is opened when something first asks for the model, and once.
  explicit BuiltinEngine(std::filesystem::path file) : file_(std::move(file)) {}

  // Never waits. Throws EmbeddingNotReadyError with what is wrong with the file. The backend embeds
  // questions, and throws TryAgainLaterError for one none of whose words the model knows.
  std::shared_ptr<engines::EmbeddingBackend> wait_ready(std::chrono::milliseconds longest) override;

  // The model itself, never null. Throws as wait_ready does.
  [[nodiscard]] std::shared_ptr<const WordModel> model();

 private:
  const std::filesystem::path file_;
  std::once_flag opened_;
  std::shared_ptr<const WordModel> model_;
  std::string fault_;  // why there is no model
};

// The model that came along: "builtin.model", in the places that velmora/velmora.h tells. One that
// is in none of them is said to be in the first.
[[nodiscard]] VELMORA_API std::filesystem::path shipped_model_file();

}  // namespace velmora::host::embedding
