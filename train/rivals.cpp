#include "rivals.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "exam.h"
#include "symbol_repository.h"
#include "velmora/workers/retrieval.h"

namespace velmora::train {
namespace {

constexpr std::size_t MOST_RIVALS = 32;
// How many hits are looked at.
constexpr int DEPTH = 50;

// What text alone makes of a question, in numbers of the repository's symbols.
struct TextAnswer {
  std::vector<Rival> rivals;
  std::unordered_map<std::uint32_t, float> answers;  // with their scores
};

using TextAnswers = std::unordered_map<std::string_view, TextAnswer>;

TextAnswers ask(std::span<const Pair> symbols, std::span<const Question> questions) {
  workers::retrieval::HybridRetriever retriever(std::make_shared<SymbolRepository>(symbols));
  TextAnswers all;
  for (const Question& question : questions) {
    TextAnswer& answer = all[question.text];
    for (const auto& hit : retriever.retrieve(question.text, {.limit = DEPTH}).hits) {
      const auto symbol = static_cast<std::uint32_t>(hit.symbol.id - 1);
      const auto score = static_cast<float>(hit.score);
      if (std::find(question.answers.begin(), question.answers.end(), symbol) !=
          question.answers.end()) {
        answer.answers.emplace(symbol, score);
      } else if (answer.rivals.size() < MOST_RIVALS) {
        answer.rivals.push_back({symbol, score});
      }
    }
  }
  return all;
}

}  // namespace

Rivals::Rivals(std::span<const Pair> pairs, std::span<const Pair> known, Vocabulary& vocabulary,
               const host::embedding::SymbolSettings& settings, Workers& workers)
    : of(pairs.size()), answer_scores(pairs.size()) {
  std::map<std::string_view, std::vector<std::uint32_t>> repositories;
  for (std::uint32_t i = 0; i < pairs.size(); ++i) repositories[pairs[i].repository].push_back(i);
  std::vector<std::string_view> names;
  for (const auto& [name, members] : repositories) names.push_back(name);
  std::vector<Collected> collected(names.size());
  workers.run(names.size(), [&](std::size_t number) {
    collected[number] = collect(known, names[number]);
    const auto& [all, docs, commits] = collected[number];
    const TextAnswers doc_answers = ask(without_answers_documentation(all, docs), docs);
    const TextAnswers commit_answers = ask(all, commits);
    std::unordered_map<std::string, std::uint32_t> numbers;
    for (const Pair& symbol : all) {
      numbers.emplace(symbol_key(symbol), static_cast<std::uint32_t>(numbers.size()));
    }
    for (const std::uint32_t i : repositories.at(names[number])) {
      const TextAnswer& answer =
          (pairs[i].kind == PairKind::doc ? doc_answers : commit_answers).at(pairs[i].query);
      of[i] = answer.rivals;
      const auto own = answer.answers.find(numbers.at(symbol_key(pairs[i])));
      if (own != answer.answers.end()) answer_scores[i] = own->second;
    }
  });
  std::uint32_t before = 0;
  for (std::size_t number = 0; number < names.size(); ++number) {
    for (const Pair& symbol : collected[number].symbols) {
      symbols.add(symbol_bag(symbol.parts(), settings), vocabulary);
    }
    for (const std::uint32_t i : repositories.at(names[number])) {
      for (Rival& rival : of[i]) rival.symbol += before;
    }
    before += static_cast<std::uint32_t>(collected[number].symbols.size());
  }
}

}  // namespace velmora::train
