// What is told of a model: how good its answers are, and how fast it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "evaluation.h"
#include "exam.h"
#include "workers.h"

namespace velmora::train {

struct QualityRow {
  std::string repository;  // "all" in a total
  PairKind kind = PairKind::doc;
  std::size_t symbols = 0;
  std::size_t questions = 0;
  ExamScores scores;
};

struct Quality {
  std::string model;
  std::size_t words = 0;
  std::size_t dimensions = 0;
  std::uintmax_t bytes = 0;
  // Of the drawn questions and of all of them; a total, over the questions of a kind, follows its
  // rows.
  std::vector<QualityRow> drawn;
  std::vector<QualityRow> whole;
  // The totals of the drawn ones with unrounded numbers; none when not measured.
  std::vector<QualityRow> floats;
  Speed speed;
};

// Measures the model in a file, and its twin that was written without rounding if there is one, by
// exams of drawn questions and by those of all questions. Throws ModelFileError.
[[nodiscard]] Quality measure(std::span<const Exam> drawn, std::span<const Exam> whole,
                              const std::filesystem::path& model,
                              const std::optional<std::filesystem::path>& float_model,
                              Workers& workers);

// The tables, in Markdown.
[[nodiscard]] std::string to_markdown(const Quality& quality);

// Puts `text` between the marks "<!-- NAME -->" and "<!-- end of NAME -->" of a file, in the place
// of what stands there; behind everything when it has no marks. What a person wrote around them
// stays. Throws std::runtime_error when the file cannot be written.
void write_measured(const std::filesystem::path& file, const std::string& name,
                    const std::string& text);

}  // namespace velmora::train
