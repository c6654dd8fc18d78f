#include "training.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "examples.h"
#include "fusion_loss.h"
#include "gradient.h"
#include "random.h"
#include "rivals.h"
#include "settings/settings.h"

namespace velmora::train {
namespace {

using host::embedding::query_bag;
using host::embedding::symbol_bag;
using host::embedding::WordModelData;

// Keeps the first steps of a word that was hardly seen within bounds.
constexpr float SMALLEST_SQUARE = 1e-10F;
// Adagrad's pieces of work.
constexpr std::size_t ROWS_A_PIECE = 256;

// The examples of an epoch in their order: runs of `group` of one repository, in which those of a
// file stand together, the runs mixed.
class Schedule {
 public:
  Schedule(std::span<const Lesson> lessons, std::span<const AnswerPlace> places, std::size_t group)
      : group_(group) {
    std::map<std::uint32_t, std::map<std::string_view, std::vector<std::uint32_t>>> repositories;
    for (std::uint32_t i = 0; i < places.size(); ++i) {
      const Tree& tree = lessons[places[i].lesson].tree;
      repositories[places[i].lesson][tree.symbols[places[i].symbol].path].push_back(i);
    }
    for (auto& [name, files] : repositories) {
      std::vector<std::vector<std::uint32_t>>& repository = repositories_.emplace_back();
      for (auto& [path, members] : files) repository.push_back(std::move(members));
    }
  }

  std::vector<std::uint32_t> next(Random& random) {
    std::vector<std::vector<std::uint32_t>> runs;
    for (std::vector<std::vector<std::uint32_t>>& files : repositories_) {
      random.shuffle(std::span(files));
      std::vector<std::uint32_t>* run = nullptr;
      for (std::vector<std::uint32_t>& members : files) {
        random.shuffle(std::span(members));
        for (const std::uint32_t member : members) {
          if (run == nullptr || run->size() == group_) run = &runs.emplace_back();
          run->push_back(member);
        }
      }
    }
    random.shuffle(std::span(runs));
    std::vector<std::uint32_t> order;
    for (const auto& run : runs) order.insert(order.end(), run.begin(), run.end());
    return order;
  }

 private:
  std::size_t group_;
  std::vector<std::vector<std::vector<std::uint32_t>>> repositories_;  // by file
};

// A table that learns: each row has a step size that shrinks with what it has learned (Adagrad, one
// accumulator a row).
class LearningTable {
 public:
  // All words begin with vectors by their letters, those of one stem near each other; words that
  // are not learned keep the ones that every model gives them.
  LearningTable(const Vocabulary& vocabulary, const TrainingOptions& options)
      : table_{options.dimensions, Floats(vocabulary.words().size() * options.dimensions)},
        squares_(vocabulary.learned()) {
    for (std::size_t word = 0; word < vocabulary.words().size(); ++word) {
      const float length =
          word < vocabulary.learned() ? options.first_length : options.unknown_length;
      host::embedding::add_unknown_word(vocabulary.words()[word], length, table_.row(word));
    }
    if (options.start == nullptr) return;
    std::copy(options.start->rows.begin(), options.start->rows.end(), table_.rows.begin());
  }

  [[nodiscard]] const Table& table() const { return table_; }

  void learn(const Gradient& gradient, float rate, Workers& workers) {
    const std::size_t width = table_.dimensions;
    const std::size_t count = gradient.words.size();
    workers.run((count + ROWS_A_PIECE - 1) / ROWS_A_PIECE, [&](std::size_t number) {
      const std::size_t begin = number * ROWS_A_PIECE;
      for (std::size_t i = begin; i < std::min(begin + ROWS_A_PIECE, count); ++i) {
        const auto change = std::span(gradient.rows).subspan(i * width, width);
        float square = 0.0F;
        for (const float value : change) square += value * value;
        float& total = squares_[gradient.words[i]];
        total += square / static_cast<float>(width);
        const float step = rate / std::sqrt(total + SMALLEST_SQUARE);
        const auto row = table_.row(gradient.words[i]);
        for (std::size_t j = 0; j < width; ++j) row[j] -= step * change[j];
      }
    });
  }

 private:
  Table table_;
  Floats squares_;
};

Batch make_batch(const Examples& examples, const Rivals& rivals, std::size_t most_rivals,
                 std::span<const std::uint32_t> members, Random& random) {
  Batch batch;
  for (const std::uint32_t i : members) {
    batch.questions.add(examples.questions[i]);
    batch.symbols.add(examples.symbols[i]);
    batch.question_ids.push_back(examples.question_ids[i]);
    batch.symbol_ids.push_back(examples.symbol_ids[i]);
  }
  std::uint32_t end = 0;
  for (const std::uint32_t i : members) {
    std::vector<Rival> drawn = rivals.of[i];
    random.shuffle(std::span(drawn));
    drawn.resize(std::min(drawn.size(), most_rivals));
    for (const Rival& rival : drawn) {
      batch.symbols.add(rivals.symbols[rival.symbol]);
      batch.rival_scores.push_back(rival.score);
    }
    batch.answer_scores.push_back(rivals.answer_scores[i]);
    end += static_cast<std::uint32_t>(drawn.size());
    batch.rival_ends.push_back(end);
  }
  return batch;
}

// The words of the lessons, behind those of the model to begin with.
Vocabulary make_vocabulary(std::span<const Lesson> lessons, const TrainingOptions& options) {
  Vocabulary own = Vocabulary::of(lessons, options.settings, options.vocabulary);
  if (options.start == nullptr) return own;
  std::vector<std::string> words = options.start->words;
  const Vocabulary known(words);
  for (const std::string& word : own.words()) {
    if (!known.knows(word)) words.push_back(word);
  }
  return Vocabulary(std::move(words));
}

}  // namespace

WordModelData train_model(std::span<const Lesson> lessons, const TrainingOptions& given,
                          Workers& workers, const TrainingHooks& hooks) {
  TrainingOptions options = given;
  if (options.start != nullptr) {
    options.settings = options.start->settings;
    options.dimensions = options.start->dimensions;
    options.unknown_length = options.start->unknown_length;
    options.first_length = options.unknown_length;
  }
  Random random(options.seed);
  const std::vector<AnswerPlace> places = places_of(lessons);
  Vocabulary vocabulary = make_vocabulary(lessons, options);
  if (vocabulary.learned() == 0) throw std::invalid_argument("no word is frequent enough to learn");
  const Examples examples(lessons, places, vocabulary, options.settings);
  const Rivals rivals(lessons, places, vocabulary, options.settings, workers);

  const auto ranking = host::settings::standard_retrieval_settings();
  LearningTable learning(vocabulary, options);
  Schedule schedule(lessons, places, options.group);
  const std::size_t batches = (places.size() + options.batch - 1) / options.batch;
  const double steps = static_cast<double>(batches) * options.epochs;
  Floats by_questions;
  Floats by_symbols;
  bool stopped = false;
  for (int epoch = 0; epoch < options.epochs && !stopped; ++epoch) {
    const std::vector<std::uint32_t> order = schedule.next(random);
    double loss = 0.0;
    for (std::size_t number = 0; number < batches && !stopped; ++number) {
      const std::size_t begin = number * options.batch;
      const Batch batch = make_batch(
          examples, rivals, options.rivals,
          std::span(order).subspan(begin, std::min(options.batch, order.size() - begin)), random);
      const Encoded questions = encode(batch.questions, learning.table(), workers);
      const Encoded symbols = encode(batch.symbols, learning.table(), workers);
      const Floats answer_cosines = cosines(questions, symbols, batch.question_ids.size(), workers);
      loss += contrastive_loss(batch, questions, symbols, answer_cosines,
                               {options.temperature, options.rival_weight}, workers, by_questions,
                               by_symbols);
      loss += add_fusion_loss(batch, questions, symbols,
                              vote_steps(answer_cosines, batch.question_ids.size(), workers),
                              {ranking, options.fusion_weight}, workers, by_questions, by_symbols);
      const double done =
          static_cast<double>(epoch) * static_cast<double>(batches) + static_cast<double>(number);
      const auto rate = static_cast<float>(options.rate * (1.0 - done / steps));
      const Gradient question_side =
          gradient_of(batch.questions, questions, by_questions, vocabulary.learned(), workers);
      const Gradient symbol_side =
          gradient_of(batch.symbols, symbols, by_symbols, vocabulary.learned(), workers);
      learning.learn(question_side, rate, workers);
      learning.learn(symbol_side, rate, workers);
      stopped = hooks.stop && hooks.stop();
    }
    if (hooks.progress) {
      hooks.progress({epoch + 1, options.epochs, loss / static_cast<double>(batches)});
    }
  }
  Table table = learning.table();
  std::vector<std::string> words = vocabulary.words();
  words.resize(vocabulary.learned());
  table.rows.resize(words.size() * options.dimensions);
  return {.base_name = options.base_name,
          .settings = options.settings,
          .dimensions = options.dimensions,
          .unknown_length = options.unknown_length,
          .words = std::move(words),
          .rows = std::vector<float>(table.rows.begin(), table.rows.end())};
}

}  // namespace velmora::train
