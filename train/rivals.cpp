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

using Lists = std::unordered_map<std::string_view, std::vector<std::uint32_t>>;

// The rivals of every question, in numbers of the repository's symbols.
Lists rivals_by_question(const Collected& repository, std::span<const Question> questions) {
  workers::retrieval::HybridRetriever retriever(
      std::make_shared<SymbolRepository>(repository.symbols));
  Lists lists;
  for (const Question& question : questions) {
    std::vector<std::uint32_t>& list = lists[question.text];
    const auto result = retriever.retrieve(
        question.text, {.limit = static_cast<int>(MOST_RIVALS + question.answers.size())});
    for (const auto& hit : result.hits) {
      const auto symbol = static_cast<std::uint32_t>(hit.symbol.id - 1);
      if (std::find(question.answers.begin(), question.answers.end(), symbol) !=
          question.answers.end()) {
        continue;
      }
      if (list.size() < MOST_RIVALS) list.push_back(symbol);
    }
  }
  return lists;
}

}  // namespace

Rivals::Rivals(std::span<const Pair> pairs, std::span<const Pair> known, Vocabulary& vocabulary,
               const host::embedding::SymbolSettings& settings, Workers& workers)
    : of(pairs.size()) {
  std::map<std::string_view, std::vector<std::uint32_t>> repositories;
  for (std::uint32_t i = 0; i < pairs.size(); ++i) repositories[pairs[i].repository].push_back(i);
  std::vector<std::string_view> names;
  for (const auto& [name, members] : repositories) names.push_back(name);
  std::vector<Collected> collected(names.size());
  workers.run(names.size(), [&](std::size_t number) {
    collected[number] = collect(known, names[number]);
    const Collected& repository = collected[number];
    const Lists docs = rivals_by_question(repository, repository.docs);
    const Lists commits = rivals_by_question(repository, repository.commits);
    for (const std::uint32_t i : repositories.at(names[number])) {
      of[i] = (pairs[i].kind == PairKind::doc ? docs : commits).at(pairs[i].query);
    }
  });
  std::uint32_t before = 0;
  for (std::size_t number = 0; number < names.size(); ++number) {
    for (const Pair& symbol : collected[number].symbols) {
      symbols.add(symbol_bag(symbol.parts(), settings), vocabulary);
    }
    for (const std::uint32_t i : repositories.at(names[number])) {
      for (std::uint32_t& rival : of[i]) rival += before;
    }
    before += static_cast<std::uint32_t>(collected[number].symbols.size());
  }
}

}  // namespace velmora::train
