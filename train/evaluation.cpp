#include "evaluation.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "symbol_repository.h"
#include "velmora/utils/path_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::train {
namespace {

using host::embedding::WordModel;
using models::SymbolId;
namespace retrieval = workers::retrieval;

constexpr int FIRST_PAGE = 10;

// The symbols of an exam with their vectors.
class ExamRepository final : public SymbolRepository {
 public:
  ExamRepository(const Exam& exam, const WordModel& model, Workers& workers)
      : SymbolRepository(exam.symbols),
        width_(model.dimensions()),
        vectors_(exam.symbols.size() * width_) {
    workers.run(exam.symbols.size(), [&](std::size_t i) {
      model.embed_symbol(exam.symbols[i].parts(), std::span(vectors_).subspan(i * width_, width_));
    });
  }

  std::vector<storage::NearestPair> nearest_symbol_ids(std::span<const float> values,
                                                       std::string_view,
                                                       storage::NearestOptions options) override {
    std::vector<storage::NearestPair> pairs;
    for (std::size_t i = 0; i < symbols().size(); ++i) {
      const auto vector = std::span<const float>(vectors_).subspan(i * width_, width_);
      float cosine = 0.0F;
      bool is_stored = false;  // a symbol without any known word has no vector
      for (std::size_t j = 0; j < width_; ++j) {
        cosine += vector[j] * values[j];
        is_stored = is_stored || vector[j] != 0.0F;
      }
      if (is_stored) pairs.push_back({static_cast<SymbolId>(i + 1), double{cosine}});
    }
    const auto count = std::min(static_cast<std::size_t>(options.top_k), pairs.size());
    std::partial_sort(pairs.begin(), pairs.begin() + static_cast<std::ptrdiff_t>(count),
                      pairs.end(), [](const auto& left, const auto& right) {
                        return left.similarity != right.similarity
                                   ? left.similarity > right.similarity
                                   : left.id < right.id;
                      });
    pairs.resize(count);
    return pairs;
  }

 private:
  const std::size_t width_;
  std::vector<float> vectors_;
};

// The score of an answer, symbol ids best first.
Scores score(std::span<const SymbolId> ids, const Question& question) {
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (std::binary_search(question.answers.begin(), question.answers.end(),
                           static_cast<std::uint32_t>(ids[i] - 1))) {
      return {1.0 / static_cast<double>(i + 1), i < FIRST_PAGE ? 1.0 : 0.0};
    }
  }
  return {};
}

std::vector<SymbolId> ids_of(const retrieval::RetrievalResult& result) {
  std::vector<SymbolId> ids;
  for (const retrieval::Hit& hit : result.hits) ids.push_back(hit.symbol.id);
  return ids;
}

}  // namespace

Scores& Scores::operator+=(const Scores& other) {
  reciprocal_rank += other.reciprocal_rank;
  recall += other.recall;
  return *this;
}

ExamScores evaluate(const Exam& exam, const std::shared_ptr<const WordModel>& model,
                    Workers& workers) {
  const auto repository = std::make_shared<ExamRepository>(exam, *model, workers);
  const auto embed = [&](std::string_view text) {
    std::vector<float> values(model->dimensions());
    model->embed_query(text, values);
    return values;
  };
  retrieval::HybridRetriever text(repository);
  retrieval::HybridRetriever all(repository, {.embedder = [&](std::string_view query) {
                                   return retrieval::QueryVector{embed(query), model->name()};
                                 }});
  // Ranks as the semantic channel does, with its rule for tests.
  const auto by_meaning = [&](const std::string& query) {
    const bool with_tests = retrieval::is_test_query(retrieval::query_terms(query));
    std::vector<SymbolId> ids;
    for (const storage::NearestPair& pair :
         repository->nearest_symbol_ids(embed(query), model->name(), {.top_k = 500})) {
      const Pair& symbol = exam.symbols[static_cast<std::size_t>(pair.id - 1)];
      if (with_tests || !utils::is_test_path(symbol.path)) ids.push_back(pair.id);
      if (ids.size() == ANSWER_LIMIT) break;
    }
    return ids;
  };

  std::vector<ExamScores> scores(exam.questions.size());
  workers.run(exam.questions.size(), [&](std::size_t i) {
    const Question& question = exam.questions[i];
    const retrieval::RetrieveOptions options = {.limit = ANSWER_LIMIT};
    scores[i] = {score(ids_of(text.retrieve(question.text, options)), question),
                 score(by_meaning(question.text), question),
                 score(ids_of(all.retrieve(question.text, options)), question)};
  });
  ExamScores mean;
  const auto share = 1.0 / static_cast<double>(scores.size());
  for (const ExamScores& one : scores) {
    mean.text += {one.text.reciprocal_rank * share, one.text.recall * share};
    mean.meaning += {one.meaning.reciprocal_rank * share, one.meaning.recall * share};
    mean.all += {one.all.reciprocal_rank * share, one.all.recall * share};
  }
  return mean;
}

Speed measure_speed(const std::filesystem::path& file, std::span<const Exam> exams) {
  using Clock = std::chrono::steady_clock;
  const auto seconds_since = [](Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
  };
  std::vector<std::string_view> questions;
  std::vector<host::embedding::SymbolParts> symbols;
  for (const Exam& exam : exams) {
    for (const Question& question : exam.questions) questions.push_back(question.text);
    for (const Pair& symbol : exam.symbols) symbols.push_back(symbol.parts());
  }
  Speed speed;
  auto begin = Clock::now();
  const auto model = WordModel::open(file);
  std::vector<float> vector(model->dimensions());
  model->embed_query("open", vector);
  speed.open_milliseconds = seconds_since(begin) * 1e3;

  constexpr std::size_t QUERIES = 20000;
  begin = Clock::now();
  for (std::size_t i = 0; i < QUERIES; ++i) {
    model->embed_query(questions[i % questions.size()], vector);
  }
  speed.query_microseconds = seconds_since(begin) * 1e6 / double{QUERIES};

  begin = Clock::now();
  for (std::size_t i = 0; i < 100000; ++i) model->embed_symbol(symbols[i % symbols.size()], vector);
  speed.symbols_seconds = seconds_since(begin);
  return speed;
}

}  // namespace velmora::train
