// A static embedding model: each word has a vector, a text is the weighted sum of its words'
// vectors, at length one. There is no network to run and nothing to load but one file of some
// megabytes, so a model is ready at once and embeds at the speed of memory.
//
// A file need not be trusted: it is checked whole, and the worst that it can do is to find the
// wrong things alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/export.h"

namespace velmora::host::embedding {

// A model file is missing, damaged or of another version. The message says which file and what is
// wrong with it, begins a sentence and has no final full stop.
class VELMORA_API ModelFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a model reads of a symbol. A part that the symbol does not have is empty.
struct SymbolParts {
  std::string_view name = {};       // its own
  std::string_view fqn = {};        // with what encloses it
  std::string_view signature = {};  // as the source has it
  std::string_view path = {};       // relative to the repository
  std::string_view docstring = {};  // as the source has it, without comment markers
  std::string_view body = {};       // words of its source, with spaces between
};

// How much of a part of a symbol counts, and how much.
struct PartSettings {
  float weight = 1.0F;       // of each of its words; 0 or more
  std::uint32_t words = 64;  // only the first so many words are read, stop words not counted

  bool operator==(const PartSettings&) const = default;
};

// The settings of every part. A word that stands in several parts adds its weights up.
struct SymbolSettings {
  PartSettings name = {};       // of SymbolParts::name, and so on
  PartSettings fqn = {};        // ...
  PartSettings signature = {};  // ...
  PartSettings path = {};       // ...
  PartSettings docstring = {};  // ...
  PartSettings body = {};       // ...

  bool operator==(const SymbolSettings&) const = default;
};

// How a model file keeps its numbers.
enum class RowKind : std::uint32_t {
  int8 = 1,     // a byte for each number and a scale for each word
  float32 = 2,  // as they were trained: four times the size, to measure what the bytes lose
};

// A model with its numbers as the trainer has them.
struct WordModelData {
  std::string base_name;         // the model's name without its checksum; not empty
  SymbolSettings settings = {};  // how it reads symbols
  std::uint32_t dimensions = 0;  // at least 1
  // The length of the vector of a word that is not among `words`; 0 or more. Such a word resembles
  // itself, a little what is spelled alike, and nothing else.
  float unknown_length = 0.0F;
  std::vector<std::string> words = {};  // lower case, each once, none empty
  std::vector<float> rows = {};         // a vector of `dimensions` finite numbers for each word
};

// Writes a model file; one that stands at `file` is replaced whole or not at all. The same data
// give the same bytes. Throws std::invalid_argument for data that break the rules above,
// std::system_error when the file cannot be written.
VELMORA_API void write_word_model(const std::filesystem::path& file, const WordModelData& data,
                                  RowKind kind = RowKind::int8);

// A model file, open. Constant, so any number of threads may share one.
class VELMORA_API WordModel {
 public:
  // Reads the file, which has 512 MB at most, and checks it from the first byte to the last. Throws
  // ModelFileError. What becomes of the file afterwards changes nothing.
  [[nodiscard]] static std::shared_ptr<const WordModel> open(const std::filesystem::path& file);

  WordModel(const WordModel&) = delete;
  WordModel& operator=(const WordModel&) = delete;
  ~WordModel();

  // The base name and eight hexadecimal digits of the content's checksum, for instance
  // "builtin-2-0123abcd": vectors of different weights are never taken for each other's.
  [[nodiscard]] const std::string& name() const { return name_; }

  // The length of every vector.
  [[nodiscard]] std::size_t dimensions() const { return dimensions_; }

  // Writes the vector of a question (UTF-8), of length one, to `out`; all zero when it has no word
  // but stop words, or none that the model gives a vector. REQUIRES: out.size() == dimensions().
  void embed_query(std::string_view text, std::span<float> out) const;

  // The same for a symbol, with vectors that are compared with those of questions by their cosine.
  void embed_symbol(const SymbolParts& symbol, std::span<float> out) const;

  // The model as data, its rows within half a step of what was written.
  [[nodiscard]] WordModelData data() const;

 private:
  struct File;
  explicit WordModel(std::unique_ptr<const File> file);

  const std::unique_ptr<const File> file_;
  const std::string name_;
  const std::size_t dimensions_;
};

}  // namespace velmora::host::embedding
