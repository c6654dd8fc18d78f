// Measures what a model adds to the retriever's answers, through the retriever itself.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "exam.h"
#include "velmora/host/embedding/word_model.h"
#include "workers.h"

namespace velmora::train {

// How many hits of an answer are looked at.
inline constexpr int ANSWER_LIMIT = 50;

// How good the answers to a set of questions are. The rank of an answer is that of the first right
// symbol.
struct Scores {
  double reciprocal_rank = 0.0;  // mean of 1 / rank; 0 beyond ANSWER_LIMIT
  double recall = 0.0;           // part of the questions answered within the first ten

  Scores& operator+=(const Scores& other);
};

struct ExamScores {
  Scores text;     // names and text: every channel but the semantic one
  Scores meaning;  // the semantic channel alone
  Scores all;      // all four channels
};

// The scores of one exam, by a retriever with the default settings.
[[nodiscard]] ExamScores evaluate(const Exam& exam,
                                  const std::shared_ptr<const host::embedding::WordModel>& model,
                                  Workers& workers);

// How fast a model is, on one thread.
struct Speed {
  double open_milliseconds = 0.0;   // open, check and look one word up
  double query_microseconds = 0.0;  // embed one question
  double symbols_seconds = 0.0;     // embed 100,000 symbols
};

// Measures with the questions and symbols of the exams, taken again and again. REQUIRES: one of
// each.
[[nodiscard]] Speed measure_speed(const std::filesystem::path& model, std::span<const Exam> exams);

}  // namespace velmora::train
