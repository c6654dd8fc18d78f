// Questions about whole repositories, whose right answers are known.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pairs.h"

namespace velmora::train {

// Repositories that no model is ever trained on: what is told of a model is measured on them.
inline constexpr std::array<std::string_view, 10> VALIDATION_REPOSITORIES = {
    "pytest-dev/pytest", "etcd-io/etcd", "square/okhttp",       "tokio-rs/tokio", "eslint/eslint",
    "curl/curl",         "rails/rails",  "apache/commons-lang", "google/re2",     "scrapy/scrapy"};

struct Question {
  std::string text;
  std::vector<std::uint32_t> answers;  // numbers of symbols, ascending; any of them is right
};

// The symbols and the questions of one repository, in the order of the pairs.
struct Collected {
  std::vector<Pair> symbols;  // with the documentation that their pairs tell of
  std::vector<Question> docs;
  std::vector<Question> commits;
};

[[nodiscard]] Collected collect(std::span<const Pair> pairs, std::string_view repository);

// The symbols, of which those that the questions ask for have lost their documentation.
[[nodiscard]] std::vector<Pair> without_answers_documentation(std::vector<Pair> symbols,
                                                              std::span<const Question> questions);

// All symbols of a repository that the pairs know, and questions of one kind about them.
struct Exam {
  std::string repository;
  PairKind kind = PairKind::doc;
  std::vector<Pair> symbols;  // their `query` and `kind` mean nothing
  std::vector<Question> questions;
};

struct ExamOptions {
  // How many questions of each kind a repository is asked at most, drawn at random.
  std::size_t questions = 250;
  std::uint64_t seed = 1;
};

// Keeps at most `options.questions` of the questions, in their order; their answers are put in
// order too, each once.
[[nodiscard]] std::vector<Question> draw(std::vector<Question> questions,
                                         const ExamOptions& options);

// An exam of each kind for each of the repositories, in their order, docs first; one without
// questions is left out. A symbol's documentation is what its pairs tell of it, and for the
// sentence of a doc question nothing: the symbols that it is asked about stand there without
// theirs.
[[nodiscard]] std::vector<Exam> make_exams(std::span<const Pair> pairs,
                                           std::span<const std::string_view> repositories,
                                           const ExamOptions& options = {});

}  // namespace velmora::train
