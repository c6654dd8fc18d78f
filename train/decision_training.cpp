#include "decision_training.h"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "evaluation.h"
#include "judged_scores.h"
#include "velmora/engines/decision.h"

namespace velmora::train {
namespace {

using host::decision::FeatureRow;
using host::decision::FEATURES;
using host::embedding::WordModel;
using Vector = Eigen::Matrix<double, FEATURES, 1>;
using SquareMatrix = Eigen::Matrix<double, FEATURES, FEATURES>;

// Turns the candidates round, which shows where they stand among the hits, and keeps what it saw.
class Turner final : public engines::DecisionClient {
 public:
  bool feature_enabled(std::string_view) override { return true; }
  bool source_consent() override { return true; }
  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions) override {
    seen = state;
    engines::DecisionResult result;
    for (std::size_t i = 0; i < questions.size(); ++i) {
      result.probabilities.emplace(engines::question_key(i), static_cast<double>(i) / 100.0);
    }
    return result;
  }

  engines::DecisionState seen;
};

// The movable hits among all, in their order.
std::span<const workers::retrieval::Hit> movable(const std::vector<workers::retrieval::Hit>& hits,
                                                 const std::vector<workers::retrieval::Hit>& turned,
                                                 std::size_t count) {
  std::size_t first = 0;
  while (first < hits.size() && hits[first].symbol.id == turned[first].symbol.id) ++first;
  return first + count > hits.size() ? std::span<const workers::retrieval::Hit>()
                                     : std::span(hits).subspan(first, count);
}

Eigen::Map<const Vector> vector(const FeatureRow& row) {
  return Eigen::Map<const Vector>(row.data());
}

// What is added up over questions.
struct Sums {
  double weight = 0.0;
  Vector squares = Vector::Zero();
  Vector gradient = Vector::Zero();
  SquareMatrix curvature = SquareMatrix::Zero();
};

// Questions of one piece of work; the sums of pieces are added in their order.
constexpr std::size_t PIECE = 256;

template <class Add>
Sums sums_of(std::span<const RankedQuestion> questions, Workers& workers, const Add& add) {
  std::vector<Sums> pieces((questions.size() + PIECE - 1) / PIECE);
  workers.run(pieces.size(), [&](std::size_t number) {
    const std::size_t begin = number * PIECE;
    for (const RankedQuestion& question :
         questions.subspan(begin, std::min(PIECE, questions.size() - begin))) {
      add(question, pieces[number]);
    }
  });
  Sums sums;
  for (const Sums& piece : pieces) {
    sums.weight += piece.weight;
    sums.squares += piece.squares;
    sums.gradient += piece.gradient;
    sums.curvature += piece.curvature;
  }
  return sums;
}

// Adds the squares of the features' deviations from their means over the candidates.
void add_deviations(const RankedQuestion& question, Sums& sums) {
  Vector mean = Vector::Zero();
  for (const FeatureRow& row : question.rows) mean += vector(row);
  mean /= static_cast<double>(question.rows.size());
  const double each = question.weight / static_cast<double>(question.rows.size());
  for (const FeatureRow& row : question.rows) {
    sums.squares += each * (vector(row) - mean).cwiseAbs2();
  }
  sums.weight += question.weight;
}

// Adds the derivatives of the loss by the weights, which are those of features times `scale`.
void add_derivatives(const RankedQuestion& question, const Vector& weights, const Vector& scale,
                     Sums& sums) {
  const std::size_t count = question.rows.size();
  std::vector<double> chances(count);
  double best = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    chances[i] = vector(question.rows[i]).cwiseProduct(scale).dot(weights);
    best = i == 0 ? chances[i] : std::max(best, chances[i]);
  }
  double all = 0.0;
  double right = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    chances[i] = std::exp(chances[i] - best);
    all += chances[i];
    if (question.right[i]) right += chances[i];
  }
  Vector expected = Vector::Zero();
  for (std::size_t i = 0; i < count; ++i) {
    const Vector row = vector(question.rows[i]).cwiseProduct(scale);
    const double chance = chances[i] / all;
    const double target = question.right[i] ? chances[i] / right : 0.0;
    expected += chance * row;
    sums.gradient += question.weight * (chance - target) * row;
    sums.curvature += question.weight * chance * row * row.transpose();
  }
  sums.curvature -= question.weight * expected * expected.transpose();
}

}  // namespace

std::vector<RankedQuestion> ranked_questions(const Tree& tree, const Parts& parts,
                                             const ExamOptions& options,
                                             const std::shared_ptr<const WordModel>& model) {
  std::vector<RankedQuestion> ranked;
  const auto turner = std::make_shared<Turner>();
  Parts without = parts;
  without.decision = false;
  Parts with = parts;
  with.decision = true;
  for (const TreeExam& exam : make_tree_exams(tree, options)) {
    ExamAsker asker(tree, exam, {.now = model}, turner);
    for (const Question& question : exam.questions) {
      turner->seen = {};
      const auto turned = asker.ask(question, with).hits;
      if (turner->seen.candidates.empty()) continue;
      const auto hits = asker.ask(question, without).hits;
      RankedQuestion kept = {question_weight(exam.questions.size()), {}, {}};
      for (const auto& hit : movable(hits, turned, turner->seen.candidates.size())) {
        kept.right.push_back(std::binary_search(question.answers.begin(), question.answers.end(),
                                                static_cast<std::uint32_t>(hit.symbol.id)));
      }
      const auto found = std::count(kept.right.begin(), kept.right.end(), true);
      if (found == 0 || static_cast<std::size_t>(found) == kept.right.size()) continue;
      kept.rows = host::decision::features(turner->seen, *model);
      ranked.push_back(std::move(kept));
    }
  }
  return ranked;
}

FeatureRow learn_weights(std::span<const RankedQuestion> questions,
                         const DecisionTrainingOptions& options, Workers& workers) {
  constexpr int MOST_STEPS = 100;
  constexpr double SMALL_STEP = 1e-9;
  const Sums deviations = sums_of(questions, workers, add_deviations);
  Vector scale;  // a feature that never differs keeps weight 0
  for (Eigen::Index i = 0; i < scale.size(); ++i) {
    const double deviation = std::sqrt(deviations.squares[i] / deviations.weight);
    scale[i] = deviation > 0.0 ? 1.0 / deviation : 0.0;
  }
  Vector weights = Vector::Zero();
  for (int step = 0; step < MOST_STEPS; ++step) {
    Sums sums = sums_of(questions, workers, [&](const RankedQuestion& question, Sums& to) {
      add_derivatives(question, weights, scale, to);
    });
    const Vector gradient = sums.gradient / deviations.weight + options.l2 * weights;
    SquareMatrix curvature = sums.curvature / deviations.weight;
    curvature.diagonal().array() += options.l2;
    const Vector change = curvature.ldlt().solve(gradient);
    weights -= change;
    if (change.cwiseAbs().maxCoeff() < SMALL_STEP) break;
  }
  FeatureRow learned{};
  Eigen::Map<Vector>(learned.data()) = weights.cwiseProduct(scale);
  return learned;
}

}  // namespace velmora::train
