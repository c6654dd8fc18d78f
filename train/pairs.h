// Questions with the symbols that answer them: what models are trained on and measured by.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "velmora/host/embedding/word_model.h"

namespace velmora::train {

enum class PairKind {
  doc,     // the first sentence of a documentation comment, and the symbol it stands at
  commit,  // the subject of a commit, and a function that it changed
};

struct Pair {
  std::string repository = {};
  PairKind kind = PairKind::doc;
  std::string query = {};
  std::string name = {};
  std::string fqn = {};
  std::string signature = {};  // empty: none
  std::string path = {};
  std::string docstring = {};  // empty: none, and always in a pair of kind `doc`
  std::string body = {};       // words of its source, with spaces between; not in a file of pairs

  bool operator==(const Pair&) const = default;

  [[nodiscard]] host::embedding::SymbolParts parts() const {
    return {name, fqn, signature, path, docstring, body};
  }
};

// Equal for pairs of one symbol of a repository, and only for those.
[[nodiscard]] std::string symbol_key(const Pair& pair);

// Reads a file of pairs, one JSON object a line, compressed by gzip or not. Throws
// std::runtime_error that names the file, and the line when it is not a pair.
[[nodiscard]] std::vector<Pair> read_pairs(const std::filesystem::path& file);

// Writes such a file, compressed when its name ends with ".gz". Throws std::runtime_error.
void write_pairs(const std::filesystem::path& file, const std::vector<Pair>& pairs);

}  // namespace velmora::train
