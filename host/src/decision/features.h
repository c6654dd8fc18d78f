// The numbers by which the program's own decision model tells candidates apart. The trainer and the
// program both take them from here, so that a model is asked by what it was taught.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "velmora/engines/rerank_client.h"
#include "velmora/host/embedding/word_model.h"

namespace velmora::host::decision {

// Words are the stems of what the library's splitter cuts, without stop words. A share is a part
// of the words of something, from 0 to 1; a rare word counts as much as the logarithm of how few
// of the candidates have it. A deviation is how far something is above its mean over the
// candidates, in standard deviations; 0 when all are equal.
enum class Feature : std::size_t {
  // The order of the ranking.
  reciprocal_place,  // 1 / place, from 1
  log_place,         // of 1 + place, to the base 2
  // Cosines with the question by the word model, -1 to 1.
  cosine,                  // of the whole candidate
  cosine_deviation,        // of the same
  cosine_reciprocal_rank,  // 1 / its place when ordered by it
  name_cosine,             // of the name alone
  docstring_cosine,        // of the docstring alone; 0 without
  // Shares of the question's words that are also in a part, and of the part's that are also in
  // the question.
  name_recall,
  name_precision,
  parents_recall,  // the fully qualified name without the name
  parents_precision,
  signature_recall,
  signature_precision,
  path_recall,
  path_precision,
  docstring_recall,
  docstring_precision,
  line_recall,  // any part
  // The same of rare words.
  name_rare_recall,
  name_rare_deviation,
  line_rare_recall,
  line_rare_deviation,
  // Yes (1) or no (0), and shares.
  name_covered,    // every word of a name of two or more is in the question
  name_spelled,    // the name stands in the question as a word of its own, in any case
  file_precision,  // share of the words of the file's stem that are in the question
  file_covered,    // every one of them is
  pair_recall,     // share of neighbouring words of the question that are neighbours in the name
  short_recall,    // share of them that abbreviate a word of the name, or that one abbreviates
  same_file,       // share of the other candidates that are in the same file
  same_name,       // share of them that have the same name
  is_type,         // class, struct, union, interface, trait, enum or type
  is_function,
  is_method,
  is_constructor,
  is_constant,
  is_macro,
  is_module,
  is_test,  // by its path
  has_docstring,
  // Natural logarithms of 1 + a count.
  name_words,
  signature_bytes,
  docstring_words,
  path_folders,
};
inline constexpr std::size_t FEATURES = static_cast<std::size_t>(Feature::path_folders) + 1;

// The names, as a file of weights has them.
extern const std::array<std::string_view, FEATURES> FEATURE_NAMES;

// What of a candidate a feature looks at: "name", "meaning", "path" and so on, for people.
[[nodiscard]] std::string_view subject(Feature feature);

using FeatureRow = std::array<double, FEATURES>;

// A row for each candidate, in their order. Finite for any bytes.
[[nodiscard]] std::vector<FeatureRow> features(const engines::DecisionState& state,
                                               const embedding::WordModel& model);

}  // namespace velmora::host::decision
