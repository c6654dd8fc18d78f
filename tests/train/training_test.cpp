#include "training.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "fusion_loss.h"
#include "gradient.h"
#include "random.h"
#include "rivals.h"

namespace velmora::train {
namespace {

// Six texts on each side out of ten words; two questions are equal, two symbols are the same one.
Batch tiny_batch(Random& random) {
  Batch batch;
  for (std::uint32_t text = 0; text < 6; ++text) {
    for (Bags* bags : {&batch.questions, &batch.symbols}) {
      std::vector<Term> terms;
      for (std::uint32_t word = 0; word < 10; ++word) {
        if (random.below(3) == 0)
          terms.push_back({word, static_cast<float>(0.5 + random.uniform())});
      }
      bags->add(terms);
    }
    batch.question_ids.push_back(text == 4 ? 1 : text);
    batch.symbol_ids.push_back(text == 5 ? 2 : text);
  }
  // Two rivals for every other question.
  for (std::uint32_t text = 0; text < batch.question_ids.size(); ++text) {
    if (text % 2 == 0) {
      for (int i = 0; i < 2; ++i) {
        batch.symbols.add(std::vector<Term>{{static_cast<std::uint32_t>(random.below(10)), 1.0F},
                                            {static_cast<std::uint32_t>(random.below(10)), 0.5F}});
      }
    }
    batch.rival_ends.push_back(text / 2 * 2 + 2);
    batch.answer_scores.push_back(0.01F * static_cast<float>(random.uniform()));
  }
  for (std::uint32_t rival = 0; rival < batch.rival_ends.back(); ++rival) {
    batch.rival_scores.push_back(0.01F * static_cast<float>(random.uniform()));
  }
  return batch;
}

struct Step {
  double loss = 0.0;
  Gradient by_questions;
  Gradient by_symbols;
};

// The loss with vote steps that do not move, as its derivatives take them.
Step step(const Batch& batch, const Table& table, const std::vector<VoteSteps>& votes,
          Workers& workers) {
  const Encoded questions = encode(batch.questions, table, workers);
  const Encoded symbols = encode(batch.symbols, table, workers);
  Floats question_side;
  Floats symbol_side;
  Step result;
  result.loss = contrastive_loss(batch, questions, symbols, cosines(questions, symbols, 6, workers),
                                 {0.5F, 3.0F}, workers, question_side, symbol_side);
  result.loss += add_fusion_loss(batch, questions, symbols, votes, {.weight = 2.0F}, workers,
                                 question_side, symbol_side);
  result.by_questions = gradient_of(batch.questions, questions, question_side, 10, workers);
  result.by_symbols = gradient_of(batch.symbols, symbols, symbol_side, 10, workers);
  return result;
}

TEST(Gradient, IsWhatSmallChangesOfTheNumbersDoToTheLoss) {
  Workers workers(2);
  Random random(5);
  const Batch batch = tiny_batch(random);
  Table table = {4, Floats(40)};
  for (float& value : table.rows) value = static_cast<float>(4.0 * random.uniform() - 2.0);
  const Floats answer_cosines = cosines(encode(batch.questions, table, workers),
                                        encode(batch.symbols, table, workers), 6, workers);
  const std::vector<VoteSteps> votes = vote_steps(answer_cosines, 6, workers);
  const Step exact = step(batch, table, votes, workers);
  std::vector<double> gradient(table.rows.size());
  for (const Gradient* side : {&exact.by_questions, &exact.by_symbols}) {
    for (std::size_t i = 0; i < side->words.size(); ++i) {
      for (std::size_t j = 0; j < 4; ++j) {
        gradient[side->words[i] * 4 + j] += double{side->rows[i * 4 + j]};
      }
    }
  }
  constexpr float STEP = 0.01F;
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    const float value = table.rows[i];
    table.rows[i] = value + STEP;
    const double above = step(batch, table, votes, workers).loss;
    table.rows[i] = value - STEP;
    const double below = step(batch, table, votes, workers).loss;
    table.rows[i] = value;
    EXPECT_NEAR(gradient[i], (above - below) / (2.0 * double{STEP}),
                5e-4 * (1.0 + std::abs(gradient[i])))
        << "number " << i;
  }
}

// Questions in words of their own for the words of the names.
std::vector<Pair> synonyms() {
  const std::vector<std::pair<std::string, std::string>> words = {
      {"remove", "erase"},     {"begin", "start"}, {"picture", "image"},  {"error", "fault"},
      {"folder", "directory"}, {"quick", "fast"},  {"query", "question"}, {"file", "document"}};
  std::vector<Pair> pairs;
  for (const auto& [asked, named] : words) {
    for (const auto& [asked_too, named_too] : words) {
      if (asked == asked_too) continue;
      pairs.push_back({.repository = "synonyms",
                       .query = asked + " " + asked_too,
                       .name = named + "_" + named_too,
                       .fqn = named + "_" + named_too,
                       .path = "a.py"});
    }
  }
  return pairs;
}

TEST(Training, LearnsSynonymsAndGivesTheSameBitsWithAnyNumberOfThreads) {
  const std::vector<Lesson> lessons = lessons_of(synonyms(), {});
  const TrainingOptions options = {
      .dimensions = 16, .vocabulary = {.least_repositories = 1}, .epochs = 60, .batch = 300};
  std::vector<host::embedding::WordModelData> models;
  for (const unsigned threads : {1U, 3U}) {
    Workers workers(threads);
    models.push_back(train_model(lessons, options, workers));
  }
  EXPECT_EQ(models[0].words, models[1].words);
  EXPECT_EQ(models[0].rows, models[1].rows);

  const auto cosine = [&](const std::string& left, const std::string& right) {
    const auto& words = models[0].words;
    const auto row = [&](const std::string& word) {
      const auto number = std::find(words.begin(), words.end(), word) - words.begin();
      return models[0].rows.begin() + number * 16;
    };
    double product = 0.0, left_square = 0.0, right_square = 0.0;
    for (int i = 0; i < 16; ++i) {
      const double a = row(left)[i], b = row(right)[i];
      product += a * b;
      left_square += a * a;
      right_square += b * b;
    }
    return product / std::sqrt(left_square * right_square);
  };
  EXPECT_GT(cosine("remove", "erase"), cosine("remove", "image") + 0.5);
  EXPECT_GT(cosine("picture", "image"), cosine("picture", "fault") + 0.5);
}

// A repository of functions whose names are their question's words, in another order.
std::vector<Pair> neighbours() {
  std::vector<Pair> pairs;
  for (const std::string name : {"read_config", "read_socket", "write_config"}) {
    pairs.push_back({.repository = "r",
                     .query = "config " + name.substr(0, name.find('_')),
                     .name = name,
                     .fqn = name,
                     .path = name + ".py"});
  }
  pairs.push_back({"r", PairKind::commit, "config read", "write_config", "write_config", "",
                   "write_config.py", ""});
  return pairs;
}

TEST(Rivals, AreWhatTextFindsAndIsWrongWithItsScores) {
  const std::vector<Lesson> lessons = lessons_of(neighbours(), {});
  Workers workers(2);
  Vocabulary vocabulary({"config"});
  const Rivals rivals(lessons, places_of(lessons), vocabulary, {}, workers);
  // The places and the symbols have the numbers of the pairs. Nothing says what they do but their
  // names, so text finds those that share a word with the question, those that share both first.
  const auto symbols_of = [&](std::size_t pair) {
    std::vector<std::uint32_t> symbols;
    for (const Rival& rival : rivals.of.at(pair)) symbols.push_back(rival.symbol);
    return symbols;
  };
  EXPECT_EQ(symbols_of(0), (std::vector<std::uint32_t>{2}));    // read_socket answers it too
  EXPECT_EQ(symbols_of(2), (std::vector<std::uint32_t>{0}));    // "config write"
  EXPECT_EQ(symbols_of(3).front(), 0U);                         // the commit changed another
  EXPECT_GT(rivals.answer_scores[0], rivals.answer_scores[1]);  // each by its own symbol
  EXPECT_GT(rivals.answer_scores[0], rivals.of[0].front().score);
  EXPECT_LT(rivals.answer_scores[3], rivals.of[3].front().score);
  EXPECT_GT(rivals.answer_scores[3], 0.0F);
}

TEST(Vocabulary, LearnsTheWordsOfSeveralTextsAndRepositories) {
  const std::vector<Pair> pairs = {{.repository = "a", .query = "open shared twice"},
                                   {.repository = "a", .query = "open twice"},
                                   {.repository = "b", .query = "open shared once"}};
  const std::vector<Lesson> lessons = lessons_of(pairs, {});
  const auto words = [&](const VocabularyOptions& options) {
    return Vocabulary::of(lessons, {}, options).words();
  };
  EXPECT_EQ(words({2, 1}), (std::vector<std::string>{"open", "shared", "twice"}));
  EXPECT_EQ(words({2, 2}), (std::vector<std::string>{"open", "shared"}));
  EXPECT_EQ(words({3, 1}), (std::vector<std::string>{"open"}));
}

TEST(Exams, TakeTheDocumentationFromTheSymbolsThatAreAskedFor) {
  std::vector<Pair> pairs;
  for (const std::string name : {"one", "two", "three"}) {
    pairs.push_back({.repository = "r", .query = "does " + name, .name = name, .fqn = name});
  }
  pairs.push_back({"r", PairKind::commit, "mend both", "one", "one", "", "", ""});
  pairs.push_back({"r", PairKind::commit, "mend both", "two", "two", "", "", ""});
  const std::vector<std::string_view> repositories = {"r"};
  const std::vector<Exam> exams = make_exams(pairs, repositories, {.questions = 1});
  ASSERT_EQ(exams.size(), 2U);
  ASSERT_EQ(exams[0].questions.size(), 1U);
  for (std::uint32_t i = 0; i < 3; ++i) {
    const bool is_asked = exams[0].questions[0].answers[0] == i;
    EXPECT_EQ(exams[0].symbols[i].docstring, is_asked ? "" : pairs[i].query);
    EXPECT_EQ(exams[1].symbols[i].docstring, pairs[i].query);
  }
  EXPECT_EQ(exams[1].questions[0].answers, (std::vector<std::uint32_t>{0, 1}));
}

}  // namespace
}  // namespace velmora::train
