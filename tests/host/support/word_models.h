// Small embedding models whose vectors a test chooses.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "velmora/host/embedding/word_model.h"

namespace velmora::host::test {

// Writes a model of these words, whose vectors all have the same length. Returns its name.
inline std::string write_model(const std::filesystem::path& file,
                               const std::map<std::string, std::vector<float>>& words) {
  embedding::WordModelData data;
  data.base_name = "test";
  for (const auto& [word, row] : words) {
    data.dimensions = static_cast<std::uint32_t>(row.size());
    data.words.push_back(word);
    data.rows.insert(data.rows.end(), row.begin(), row.end());
  }
  embedding::write_word_model(file, data);
  return embedding::WordModel::open(file)->name();
}

}  // namespace velmora::host::test
