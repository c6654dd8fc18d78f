#include "fusion_loss.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>

#include "views.h"

namespace velmora::train {
namespace {

// Where the steps are: so many of the answers of a batch are nearer. The list takes 50 of some two
// thousand symbols; a bar a little above its end taught best.
constexpr double ENTRY = 0.015;
constexpr double TOP = 0.005;
// How wide a step is, in cosine.
constexpr float WIDTH = 0.1F;
// The difference of two scores that makes the better one e times as likely, as a part of what a
// channel gives the first of its list.
constexpr float TEMPERATURE = 0.122F;

struct Vote {
  float value = 0.0F;
  float slope = 0.0F;  // its derivative by the cosine
};

// How high the steps are.
struct Heights {
  explicit Heights(const workers::retrieval::RetrievalSettings& settings)
      : entry(1.0F / static_cast<float>(settings.rrf_k + settings.depth)),
        top(1.0F / static_cast<float>(settings.rrf_k + 1) - entry) {}

  float entry;  // what the channel gives the last of its list
  float top;    // what the first gets above that
};

Vote vote(float cosine, const VoteSteps& steps, const Heights& heights) {
  const float entry = 1.0F / (1.0F + std::exp((steps.entry - cosine) / WIDTH));
  const float top = 1.0F / (1.0F + std::exp((steps.top - cosine) / WIDTH));
  return {heights.entry * entry + heights.top * top,
          (heights.entry * entry * (1.0F - entry) + heights.top * top * (1.0F - top)) / WIDTH};
}

}  // namespace

std::vector<VoteSteps> vote_steps(Floats answer_cosines, std::size_t questions, Workers& workers) {
  const std::size_t answers = answer_cosines.size() / questions;
  std::vector<VoteSteps> steps(questions);
  const auto entry = static_cast<std::ptrdiff_t>(ENTRY * static_cast<double>(answers));
  const auto top = static_cast<std::ptrdiff_t>(TOP * static_cast<double>(answers));
  workers.run(pieces(questions), [&](std::size_t number) {
    const Range range = piece(number, questions);
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      const auto row = std::span(answer_cosines).subspan(i * answers, answers);
      std::nth_element(row.begin(), row.begin() + entry, row.end(), std::greater<>());
      steps[i].entry = row[static_cast<std::size_t>(entry)];
      std::nth_element(row.begin(), row.begin() + top, row.begin() + entry + 1, std::greater<>());
      steps[i].top = row[static_cast<std::size_t>(top)];
    }
  });
  return steps;
}

double add_fusion_loss(const Batch& batch, const Encoded& questions, const Encoded& symbols,
                       const std::vector<VoteSteps>& steps, const FusionLossOptions& options,
                       Workers& workers, Floats& by_questions, Floats& by_symbols) {
  const std::size_t count = batch.question_ids.size();
  const std::size_t width = questions.vectors.dimensions;
  const float share = options.weight / static_cast<float>(count);
  const Heights heights(options.ranking);
  const float temperature = TEMPERATURE * (heights.entry + heights.top);
  std::vector<double> losses(count);
  workers.run(pieces(count), [&](std::size_t number) {
    const Range range = piece(number, count);
    std::vector<Vote> votes;
    std::vector<float> likelihoods;
    for (std::size_t i = range.begin; i < range.begin + range.size; ++i) {
      const std::size_t begin = i == 0 ? 0 : batch.rival_ends[i - 1];
      const std::size_t rivals = batch.rival_ends[i] - begin;
      if (rivals == 0) continue;
      const auto question = vector(questions.vectors.row(i));
      // The rows of the candidates: the rivals, then the answer.
      const auto row = [&](std::size_t k) { return k == rivals ? i : count + begin + k; };
      votes.clear();
      likelihoods.clear();
      for (std::size_t k = 0; k <= rivals; ++k) {
        const float cosine = question.dot(vector(symbols.vectors.row(row(k))));
        votes.push_back(vote(cosine, steps[i], heights));
        const float text = k == rivals ? batch.answer_scores[i] : batch.rival_scores[begin + k];
        likelihoods.push_back((text + votes.back().value) / temperature);
      }
      const float own = likelihoods.back();
      const float most = *std::max_element(likelihoods.begin(), likelihoods.end());
      float sum = 0.0F;
      for (float& likelihood : likelihoods) {
        likelihood = std::exp(likelihood - most);
        sum += likelihood;
      }
      losses[i] = double{share} * (std::log(double{sum}) + double{most} - double{own});
      for (std::size_t k = 0; k <= rivals; ++k) {
        const float change = likelihoods[k] / sum - (k == rivals ? 1.0F : 0.0F);
        const float by_cosine = share / temperature * change * votes[k].slope;
        vector(std::span(by_questions).subspan(i * width, width)) +=
            by_cosine * vector(symbols.vectors.row(row(k)));
        vector(std::span(by_symbols).subspan(row(k) * width, width)) += by_cosine * question;
      }
    }
  });
  double loss = 0.0;
  for (const double part : losses) loss += part;
  return loss;
}

}  // namespace velmora::train
