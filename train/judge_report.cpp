#include "judge_report.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string_view>

#include "judged_scores.h"

namespace velmora::train {
namespace {

constexpr std::array<PairKind, 2> KINDS = {PairKind::doc, PairKind::commit};

struct Lengths {
  std::string_view name;
  std::uint32_t least;
  std::uint32_t most;
};
constexpr std::array<Lengths, 3> LENGTHS = {
    {{"up to 4 words", 0, 4},
     {"5 to 8 words", 5, 8},
     {"9 words and more", 9, std::numeric_limits<std::uint32_t>::max()}}};

template <class... Values>
std::string print(const char* format, Values... values) {
  std::array<char, 512> line{};
  const int size = std::snprintf(line.data(), line.size(), format, values...);
  return {line.data(), std::min(static_cast<std::size_t>(size), line.size() - 1)};
}

std::string name_of(PairKind kind) { return kind == PairKind::doc ? "doc" : "commit"; }

double score(const JudgedPart& part, Measure measure) {
  return part.scores[static_cast<std::size_t>(measure)];
}

std::string score_with_gain(const JudgedPart& part, Measure measure, bool is_base) {
  std::string text = print(" %.4f", score(part, measure));
  if (is_base) return text + " |";
  const Estimate& gain = part.gains[static_cast<std::size_t>(measure)];
  return text + print(" (%+.1f %%: %+.1f to %+.1f) |", gain.value * 100.0, gain.low * 100.0,
                      gain.high * 100.0);
}

std::string by_part(std::span<const JudgedTree> trees, std::span<const Parts> parts) {
  std::string text =
      "| questions | parts | reciprocal rank | right at first | right among ten |\n"
      "|---|---|--:|--:|--:|\n";
  for (const PairKind kind : KINDS) {
    const JudgedParts judged = judged_scores(
        trees, parts.size(), [&](const JudgedQuestion& asked) { return asked.kind == kind; });
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const JudgedPart& part = judged.parts[i];
      text += "| " + (i == 0 ? print("%zu %s", judged.questions, name_of(kind).c_str()) : "") +
              " | " + train::name_of(parts[i]) + " |" +
              score_with_gain(part, Measure::reciprocal_rank, i == 0) +
              score_with_gain(part, Measure::first, i == 0) +
              score_with_gain(part, Measure::first_ten, i == 0) + "\n";
    }
  }
  return text;
}

// The parts of which each has all that the one before it has: added one after the other.
std::vector<std::size_t> chain_of(std::span<const Parts> parts) {
  std::vector<std::size_t> chain;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (chain.empty() || parts[i].hold(parts[chain.back()])) chain.push_back(i);
  }
  return chain;
}

// What stands before the scores of a chain, and what each of it adds.
std::string names_of(std::span<const Parts> parts, std::span<const std::size_t> chain,
                     std::string_view before) {
  std::string head = "| " + std::string(before);
  std::string rule = "\n|---|";
  for (const char c : before) rule += c == '|' ? "--:|" : "";
  std::string last;
  for (const std::size_t i : chain) {
    const std::string name = train::name_of(parts[i]);
    const bool adds = !last.empty() && name.starts_with(last);
    head += " | " + (adds ? name.substr(last.size() + 1) : name);
    rule += "--:|";
    last = name;
  }
  return head + " |" + rule + "\n";
}

std::string by_length(std::span<const JudgedTree> trees, std::span<const Parts> parts) {
  const std::vector<std::size_t> chain = chain_of(parts);
  std::string text = names_of(parts, chain, "questions | asked");
  for (const PairKind kind : KINDS) {
    for (const Lengths& lengths : LENGTHS) {
      const JudgedParts judged =
          judged_scores(trees, parts.size(), [&](const JudgedQuestion& asked) {
            return asked.kind == kind && asked.words >= lengths.least &&
                   asked.words <= lengths.most;
          });
      text += print("| %s, ", name_of(kind).c_str()) + std::string(lengths.name) +
              print(" | %zu |", judged.questions);
      for (const std::size_t i : chain) {
        text += print(" %.4f |", score(judged.parts[i], Measure::reciprocal_rank));
      }
      text += "\n";
    }
  }
  return text;
}

std::string by_repository(std::span<const JudgedTree> trees, std::span<const Parts> parts) {
  const std::vector<std::size_t> chain = chain_of(parts);
  std::string text = names_of(parts, chain, "repository, commit | kind | symbols | asked");
  for (const PairKind kind : KINDS) {
    for (const JudgedTree& tree : trees) {
      const JudgedParts judged =
          judged_scores(std::span(&tree, 1), parts.size(),
                        [&](const JudgedQuestion& asked) { return asked.kind == kind; });
      if (judged.questions == 0) continue;
      text += print("| %s %.12s | %s | %zu | %zu |", tree.repository.c_str(), tree.commit.c_str(),
                    name_of(kind).c_str(), tree.symbols, judged.questions);
      for (const std::size_t i : chain) {
        text += print(" %.3f |", score(judged.parts[i], Measure::reciprocal_rank));
      }
      text += "\n";
    }
  }
  return text;
}

}  // namespace

std::string judged_markdown(std::span<const JudgedTree> trees, std::span<const Parts> parts) {
  return by_part(trees, parts) + "\nReciprocal rank by length of question:\n\n" +
         by_length(trees, parts) + "\nReciprocal rank by repository:\n\n" +
         by_repository(trees, parts);
}

}  // namespace velmora::train
