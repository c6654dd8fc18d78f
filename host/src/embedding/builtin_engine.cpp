#include "velmora/host/embedding/builtin_engine.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "files/shipped_file.h"

namespace velmora::host::embedding {
namespace {

class Backend final : public engines::EmbeddingBackend {
 public:
  explicit Backend(std::shared_ptr<const WordModel> model) : model_(std::move(model)) {}

  std::vector<std::vector<float>> embed(std::span<const std::string_view> texts) override {
    std::vector<std::vector<float>> vectors;
    for (const std::string_view text : texts) {
      std::vector<float>& vector = vectors.emplace_back(model_->dimensions());
      model_->embed_query(text, vector);
      if (std::ranges::all_of(vector, [](float value) { return value == 0.0F; })) {
        throw TryAgainLaterError("The embedding model knows none of the question's words");
      }
    }
    return vectors;
  }

  [[nodiscard]] std::string_view name() const override { return model_->name(); }

 private:
  const std::shared_ptr<const WordModel> model_;
};

}  // namespace

std::shared_ptr<const WordModel> BuiltinEngine::model() {
  std::call_once(opened_, [this] {
    try {
      model_ = WordModel::open(file_);
    } catch (const ModelFileError& error) {
      fault_ = error.what();
    }
  });
  if (!model_) throw engines::EmbeddingNotReadyError(fault_);
  return model_;
}

std::shared_ptr<engines::EmbeddingBackend> BuiltinEngine::wait_ready(std::chrono::milliseconds) {
  return std::make_shared<Backend>(model());
}

std::filesystem::path shipped_model_file() {
  return files::shipped_file("builtin.model", "share/velmora");
}

}  // namespace velmora::host::embedding
