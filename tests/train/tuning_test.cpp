#include "tuning.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include "indexing/git_program.h"
#include "random.h"
#include "support/temporary_folder.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/word_model.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;

// The part of all ways to flip the signs of the differences whose sum is no smaller than theirs.
double by_every_flip(const std::vector<double>& differences) {
  const double sum = std::accumulate(differences.begin(), differences.end(), 0.0);
  std::size_t as_large = 0;
  const std::size_t ways = std::size_t{1} << differences.size();
  for (std::size_t way = 0; way < ways; ++way) {
    double flipped = 0.0;
    for (std::size_t i = 0; i < differences.size(); ++i) {
      flipped += (way >> i & 1) == 0 ? differences[i] : -differences[i];
    }
    as_large += flipped >= sum - 1e-12 ? 1U : 0U;
  }
  return static_cast<double>(as_large) / static_cast<double>(ways);
}

TEST(PairedGain, IsSureWhereFlippedSignsSaySo) {
  EXPECT_FALSE(paired_gain({}).is_sure());
  std::vector<double> few(20, 0.0);  // four of one sign are all alike in one of sixteen flips
  std::fill_n(few.begin(), 4, 0.5);
  EXPECT_FALSE(paired_gain(few).is_sure());
  few[4] = 0.5;  // five in one of 32
  EXPECT_TRUE(paired_gain(few).is_sure());
  EXPECT_DOUBLE_EQ(paired_gain(few).mean, 0.125);

  Random random(3);
  int sure = 0;
  int unsure = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<double> differences(12);
    for (double& difference : differences) difference = random.uniform() - 0.35;
    const PairedGain gain = paired_gain(differences);
    EXPECT_LT(gain.low, gain.mean);
    EXPECT_GT(gain.high, gain.mean);
    const double part = by_every_flip(differences);
    if (part > 0.04 && part < 0.06) continue;  // the draws are a sample
    EXPECT_EQ(gain.is_sure(), part < 0.05) << part;
    ++(gain.is_sure() ? sure : unsure);
  }
  EXPECT_GT(sure, 5);
  EXPECT_GT(unsure, 5);
}

// A repository whose history has a commit for each of the questions, which changes the function at
// the question's place in the file.
class Tuning : public ::testing::Test {
 protected:
  void make_history(const std::vector<std::string>& names,
                    const std::vector<std::string>& questions) {
    git({"init", "-q"});
    std::vector<int> versions(names.size(), 0);
    for (std::size_t i = 0; i < questions.size(); ++i) {
      ++versions[i];
      std::ofstream file(root / "code.py");
      for (std::size_t j = 0; j < names.size(); ++j) {
        file << "def " << names[j] << "():\n    return " << versions[j] << "\n\n";
      }
      file.close();
      git({"add", "."});
      git({"-c", "user.name=a", "-c", "user.email=a@b", "commit", "-q", "-m", questions[i]});
    }
  }

  Tuned tune_here() {
    Workers workers(2);
    return tune({.root = root,
                 .model = host::embedding::shipped_model_file(),
                 .used = host::embedding::shipped_model_file(),
                 .decision = host::decision::shipped_decision_file(),
                 .out = out},
                workers);
  }

  const host::test::TemporaryFolder folder;
  const fs::path root = folder.path();
  const fs::path out = root / ".velmora" / "tuned.model";

 private:
  void git(const std::vector<std::string>& arguments) {
    host::indexing::run_git(root, arguments, [](std::string_view) {});
  }
};

// Functions of two words each, and questions that have other words for these.
struct Language {
  std::vector<std::string> names;
  std::vector<std::string> questions;
};

Language two_word_language() {
  const std::vector<std::string> asked = {"erase", "glimpse", "mend",  "haul",  "sift", "weave",
                                          "brew",  "carve",   "plead", "tally", "vouch"};
  const std::vector<std::string> named = {"zap",  "vue",   "fixo", "lug",   "zif",   "knit",
                                          "ferm", "sculp", "begg", "numer", "attest"};
  Language language;
  // Neighbours in the history ask with different words, so that the newest ask with all of them.
  for (std::size_t step = 1; step < asked.size(); ++step) {
    for (std::size_t i = 0; i < asked.size(); ++i) {
      const std::size_t j = (i + step) % asked.size();
      language.names.push_back(named[i] + "_" + named[j]);
      language.questions.push_back(asked[i] + " " + asked[j]);
    }
  }
  return language;
}

TEST_F(Tuning, KeepsAModelThatLearnedTheWordsOfTheHistory) {
  const Language language = two_word_language();
  make_history(language.names, language.questions);
  const Tuned tuned = tune_here();
  EXPECT_EQ(tuned.questions, 21U);  // a fifth of 109: the first commit changes everything
  EXPECT_EQ(tuned.pairs, 88U);
  EXPECT_GT(tuned.after, tuned.before + 0.1);
  EXPECT_NEAR(tuned.gain.mean, tuned.after - tuned.before, 1e-9);
  EXPECT_TRUE(tuned.kept);
  EXPECT_TRUE(host::embedding::WordModel::open(out)->name().starts_with("tuned-1-"));
  EXPECT_EQ(std::distance(fs::directory_iterator(out.parent_path()), {}), 2);  // and .gitignore
}

TEST_F(Tuning, KeepsWhatWasThereWhenTheHistoryTeachesNothing) {
  Language language = two_word_language();
  for (std::size_t i = 0; i < language.questions.size(); ++i) {  // each of words of its own
    language.questions[i] = "q" + std::string(i % 26 + 1, 'x') + " w" + std::string(i + 2, 'y');
  }
  make_history(language.names, language.questions);
  fs::create_directories(out.parent_path());
  std::ofstream(out) << "earlier";
  const Tuned tuned = tune_here();
  EXPECT_FALSE(tuned.kept);
  EXPECT_EQ(fs::file_size(out), 7U);
}

TEST_F(Tuning, SaysThatAHistoryIsTooShort) {
  make_history({"one", "two"}, {"Add what is first", "Add what is second"});
  try {
    static_cast<void>(tune_here());
    FAIL() << "two commits were enough";
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("takes at least 100 commits"), std::string::npos);
    EXPECT_NE(std::string(error.what()).find("it has 2"), std::string::npos) << error.what();
  }
  EXPECT_FALSE(fs::exists(root / ".velmora"));
}

}  // namespace
}  // namespace velmora::train
