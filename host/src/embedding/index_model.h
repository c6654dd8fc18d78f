// Which of the program's own embedding models an index goes with.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/word_model.h"

namespace velmora::host::embedding {

// Gets a sentence about a model that is not used.
using Tell = std::function<void(const std::string& sentence)>;

// Where the model is that was tuned for the repository of an index.
[[nodiscard]] std::filesystem::path tuned_model_file(const std::filesystem::path& index_file);

// The model that the user chose for an index: by its name, or by tuning one, which is kept beside
// the index and was made there. Nothing: the one that came with the program. Throws IndexError when
// something else stands where the tuned model does.
[[nodiscard]] std::optional<std::filesystem::path> chosen_model_file(
    const std::optional<std::filesystem::path>& named, const std::filesystem::path& index_file);

// The engine of that model.
[[nodiscard]] std::shared_ptr<BuiltinEngine> index_engine(
    const std::optional<std::filesystem::path>& named, const std::filesystem::path& index_file,
    const Tell& tell);

// The model that embeds the symbols of an index; null when there is none to be had, though nobody
// chose another than the one that came with the program. Throws ModelFileError when it is the
// chosen one.
[[nodiscard]] std::shared_ptr<const WordModel> indexing_model(
    const std::optional<std::filesystem::path>& named, const std::filesystem::path& index_file,
    const Tell& tell);

}  // namespace velmora::host::embedding
