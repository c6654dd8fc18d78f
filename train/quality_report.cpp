#include "quality_report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace velmora::train {
namespace {

using host::embedding::WordModel;

template <class... Values>
std::string print(const char* format, Values... values) {
  std::array<char, 512> line{};
  const int size = std::snprintf(line.data(), line.size(), format, values...);
  return {line.data(), std::min(static_cast<std::size_t>(size), line.size() - 1)};
}

void add(Scores& to, const Scores& from, double weight) {
  to += {from.reciprocal_rank * weight, from.recall * weight};
}

std::vector<QualityRow> measure_rows(std::span<const Exam> exams,
                                     const std::shared_ptr<const WordModel>& model,
                                     Workers& workers) {
  std::vector<QualityRow> rows;
  for (const PairKind kind : {PairKind::doc, PairKind::commit}) {
    QualityRow total = {"all", kind, 0, 0, {}};
    for (const Exam& exam : exams) {
      if (exam.kind != kind) continue;
      total.symbols += exam.symbols.size();
      total.questions += exam.questions.size();
    }
    for (const Exam& exam : exams) {
      if (exam.kind != kind) continue;
      const ExamScores scores = evaluate(exam, model, workers);
      rows.push_back({exam.repository, kind, exam.symbols.size(), exam.questions.size(), scores});
      const double share =
          static_cast<double>(exam.questions.size()) / static_cast<double>(total.questions);
      add(total.scores.text, scores.text, share);
      add(total.scores.meaning, scores.meaning, share);
      add(total.scores.all, scores.all, share);
    }
    if (total.questions > 0) rows.push_back(total);
  }
  return rows;
}

std::string name_of(PairKind kind) { return kind == PairKind::doc ? "doc" : "commit"; }

std::string table_of(std::span<const QualityRow> rows) {
  std::string text =
      "| repository | questions | symbols | asked | names and text | meaning | all | gain |\n"
      "|---|---|--:|--:|--:|--:|--:|--:|\n";
  for (const QualityRow& row : rows) {
    const ExamScores& scores = row.scores;
    text += print("| %s | %s | %zu | %zu | %.3f / %.3f | %.3f / %.3f | %.3f / %.3f | %+.1f %% |\n",
                  row.repository.c_str(), name_of(row.kind).c_str(), row.symbols, row.questions,
                  scores.text.reciprocal_rank, scores.text.recall, scores.meaning.reciprocal_rank,
                  scores.meaning.recall, scores.all.reciprocal_rank, scores.all.recall,
                  (scores.all.reciprocal_rank / scores.text.reciprocal_rank - 1.0) * 100.0);
  }
  return text;
}

}  // namespace

Quality measure(std::span<const Exam> drawn, std::span<const Exam> whole,
                const std::filesystem::path& model,
                const std::optional<std::filesystem::path>& float_model, Workers& workers) {
  const std::shared_ptr<const WordModel> opened = WordModel::open(model);
  Quality quality;
  quality.model = opened->name();
  quality.words = opened->data().words.size();
  quality.dimensions = opened->dimensions();
  quality.bytes = std::filesystem::file_size(model);
  quality.drawn = measure_rows(drawn, opened, workers);
  quality.whole = measure_rows(whole, opened, workers);
  if (float_model) {
    quality.floats = measure_rows(drawn, WordModel::open(*float_model), workers);
    std::erase_if(quality.floats, [](const QualityRow& row) { return row.repository != "all"; });
  }
  quality.speed = measure_speed(model, drawn);
  return quality;
}

std::string to_markdown(const Quality& quality) {
  std::string text =
      print("Model `%s`: %zu words of %zu numbers, %.1f MB.\n\n", quality.model.c_str(),
            quality.words, quality.dimensions, static_cast<double>(quality.bytes) / 1e6);
  text += "Drawn questions:\n\n" + table_of(quality.drawn);
  text += "\nAll questions:\n\n" + table_of(quality.whole);
  if (!quality.floats.empty()) {
    text +=
        "\n| drawn questions | all channels, a byte a number | all channels, unrounded |\n"
        "|---|--:|--:|\n";
    for (const QualityRow& exact : quality.floats) {
      for (const QualityRow& row : quality.drawn) {
        if (row.repository != "all" || row.kind != exact.kind) continue;
        text += print("| %s | %.4f | %.4f |\n", name_of(row.kind).c_str(),
                      row.scores.all.reciprocal_rank, exact.scores.all.reciprocal_rank);
      }
    }
  }
  text += print(
      "\nOn one thread: opened in %.2f ms, a question embedded in %.2f us, 100,000 symbols "
      "embedded in %.2f s.\n",
      quality.speed.open_milliseconds, quality.speed.query_microseconds,
      quality.speed.symbols_seconds);
  return text;
}

void write_measured(const std::filesystem::path& file, const std::string& name,
                    const std::string& text) {
  const std::string begin_mark = "<!-- " + name + " -->";
  const std::string end_mark = "<!-- end of " + name + " -->";
  std::string content;
  if (std::ifstream in(file, std::ios::binary); in) {
    content.assign(std::istreambuf_iterator<char>(in), {});
  }
  const std::string block = begin_mark + "\n" + text + end_mark;
  const std::size_t begin = content.find(begin_mark);
  const std::size_t end = content.find(end_mark);
  if (begin != content.npos && end != content.npos && begin < end) {
    content.replace(begin, end + end_mark.size() - begin, block);
  } else {
    content += (content.empty() ? "" : "\n") + block + "\n";
  }
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << content;
  out.close();
  if (!out) throw std::runtime_error(file.string() + " cannot be written");
}

}  // namespace velmora::train
