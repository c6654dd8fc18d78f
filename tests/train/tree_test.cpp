#include "tree.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "decision_training.h"
#include "judged_scores.h"
#include "judging.h"
#include "random.h"
#include "tree_split.h"
#include "workers.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 8> VERBS = {"read", "write", "open",  "close",
                                              "send", "parse", "count", "merge"};
constexpr std::array<const char*, 8> NOUNS = {"page",  "table", "socket", "header",
                                              "token", "index", "stream", "record"};

// A tree of a function for each verb and noun, half of them documented, and questions about some.
Tree small_tree(std::uint64_t seed) {
  Random random(seed);
  Tree tree = {"some/tree", "0123456789abcdef", {}, {}};
  for (const std::string verb : VERBS) {
    for (const std::string noun : NOUNS) {
      const auto id = static_cast<std::uint32_t>(tree.symbols.size());
      tree.symbols.push_back(
          {.fqn = noun + "." + verb + "_" + noun,
           .name = verb + "_" + noun,
           .kind = "function",
           .language = "python",
           .path = "src/" + noun + ".py",
           .start_line = 1,
           .end_line = 2,
           .signature = verb + "_" + noun + "(self)",
           .docstring = id % 2 == 0 ? "Will " + verb + " some " + noun + "." : "",
           .body = "self return " + std::string(VERBS[random.below(8)])});
      if (random.below(2) == 0) {
        tree.commits.push_back({"Fix how to " + verb + " a broken " + noun, {id}});
      }
    }
  }
  return tree;
}

std::shared_ptr<const host::embedding::WordModel> words() {
  const fs::path file = fs::path(::testing::TempDir()) / "tree_test.model";
  host::embedding::WordModelData data;
  data.base_name = "test";
  data.dimensions = 32;
  data.unknown_length = 1.0F;
  write_word_model(file, data);
  return host::embedding::WordModel::open(file);
}

TEST(Tree, IsReadAndItsDocstringsAreAsked) {
  const fs::path file = fs::path(::testing::TempDir()) / "a+b.jsonl";
  const auto write = [&](const std::string& rows) {
    std::ofstream(file) << R"({"repository":"a/b","commit":"c0","questions":)"
                        << R"([{"query":"fix the reader","answers":[1]}]})"
                        << "\n"
                        << rows;
  };
  const auto row = [](int id, const std::string& path, const std::string& doc) {
    return R"({"id":)" + std::to_string(id) + R"(,"fqn":"m.f","name":"f","kind":"function",)" +
           R"("language":"python","path":")" + path + R"(","start_line":1,"end_line":2,)" +
           R"("signature":null,"docstring":")" + doc + R"(","words":["x","y"]})" + "\n";
  };
  write(row(0, "a.py", "Reads whole files. Slowly.") + row(1, "b.py", "Reads whole files.") +
        row(2, "tests/c.py", "Writes whole files.") + row(3, "c.py", "Stops."));
  EXPECT_EQ(tree_repository_of(file), "a/b");
  const Tree tree = read_tree(file);
  EXPECT_EQ(tree.commit, "c0");
  ASSERT_EQ(tree.symbols.size(), 4U);
  EXPECT_EQ(tree.symbols[1].body, "x y");
  const std::vector<TreeExam> exams = make_tree_exams(tree, {});
  ASSERT_EQ(exams.size(), 2U);
  // Not of tests, and not of one word.
  ASSERT_EQ(exams[0].questions.size(), 1U);
  EXPECT_EQ(exams[0].questions[0].text, "Reads whole files.");
  EXPECT_EQ(exams[0].questions[0].answers, (std::vector<std::uint32_t>{0, 1}));
  EXPECT_EQ(exams[0].hidden, (std::vector<bool>{true, true, false, false}));
  EXPECT_EQ(exams[1].questions[0].answers, std::vector<std::uint32_t>{1});
  for (const std::string& wrong : {row(1, "a.py", ""), std::string("{}\n"), row(0, "a.py", "")}) {
    write(wrong);  // ids out of order, no symbol, an answer that is not there
    EXPECT_THROW(static_cast<void>(read_tree(file)), std::runtime_error);
  }
}

TEST(Tree, SetsShareNoFamily) {
  EXPECT_EQ(tree_set("curl/curl"), TreeSet::validation);
  EXPECT_EQ(tree_set("libgit2/another"), TreeSet::test);  // the owner decides
  EXPECT_EQ(tree_set("rack/rack"), TreeSet::decision);
  EXPECT_EQ(tree_set("nobody/nothing"), TreeSet::training);
  for (const auto& family : owner_families()) {
    std::set<TreeSet> sets;
    for (const std::string_view owner : family) sets.insert(tree_set(owner));
    EXPECT_EQ(sets.size(), 1U) << family.front();
  }
}

TEST(Judging, WeighsByRepository) {
  // One repository of 50 questions, all answered at once, which then fall to the second place, and
  // one of 25, half of them answered at the second place, then at once: it counts half.
  std::vector<JudgedTree> trees(2);
  for (int i = 0; i < 50; ++i) trees[0].questions.push_back({PairKind::doc, 3, {1, 2}});
  for (int i = 0; i < 24; ++i) {
    const bool found = i % 2 == 0;
    trees[1].questions.push_back({PairKind::doc, 3, {found ? 2U : 0U, found ? 1U : 0U}});
  }
  trees[1].questions.push_back({PairKind::commit, 3, {1, 1}});
  const JudgedParts judged = judged_scores(
      trees, 2, [](const JudgedQuestion& question) { return question.kind == PairKind::doc; });
  EXPECT_EQ(judged.repositories, 2U);
  EXPECT_EQ(judged.questions, 74U);
  // (50 + 12 / 2) / 50 of a weight of 1 + 24 / 50, and (50 / 2 + 12) / 50.
  EXPECT_NEAR(judged.parts[0].scores[0], 56.0 / 74, 1e-12);
  EXPECT_NEAR(judged.parts[1].scores[0], 37.0 / 74, 1e-12);
  EXPECT_NEAR(judged.parts[1].gains[0].value, 37.0 / 56 - 1, 1e-12);
  // A draw may be of either repository alone: half as good, twice as good.
  EXPECT_NEAR(judged.parts[1].gains[0].low, -0.5, 1e-12);
  EXPECT_NEAR(judged.parts[1].gains[0].high, 1.0, 1e-12);
}

// What is asked, learned and told is the same however many threads there are.
TEST(DecisionTraining, LearnsTheSameBytesAndWhatHelps) {
  const auto model = words();
  const auto learn = [&](unsigned threads) {
    Workers workers(threads);
    std::vector<std::vector<RankedQuestion>> trees(4);
    workers.run(trees.size(), [&](std::size_t number) {
      trees[number] =
          ranked_questions(small_tree(number + 1), {.bodies = true, .model = true}, {}, model);
    });
    std::vector<RankedQuestion> all;
    for (auto& tree : trees) std::move(tree.begin(), tree.end(), std::back_inserter(all));
    EXPECT_GT(all.size(), 50U);
    return host::decision::weights_text({model->name(), learn_weights(all, {}, workers)});
  };
  const std::string weights = learn(1);
  EXPECT_EQ(learn(1), weights);
  EXPECT_EQ(learn(2), weights);

  // Two candidates, told apart by one feature alone, which the right one has more of in three of
  // four questions of equal weight: without a price the odds become 3 to 1.
  std::vector<RankedQuestion> questions;
  for (int i = 0; i < 4; ++i) {
    questions.push_back({1.0, {{}, {}}, {i > 0, i == 0}});
    questions.back().rows[0][5] = 2.0;
  }
  Workers workers(2);
  const auto learned = learn_weights(questions, {.l2 = 0.0}, workers);
  EXPECT_NEAR(learned[5] * 2.0, std::log(3.0), 1e-6);
  EXPECT_EQ(learned[6], 0.0);
}

}  // namespace
}  // namespace velmora::train
