#include "velmora/host/decision/builtin_decision.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "decision/candidate.h"
#include "decision/decision_weights.h"
#include "decision/features.h"
#include "support/files.h"
#include "support/temporary_folder.h"
#include "support/word_models.h"
#include "velmora/engines/decision_text.h"
#include "velmora/host/embedding/builtin_engine.h"

namespace velmora::host::decision {
namespace {

namespace fs = std::filesystem;
using engines::DecisionState;

// The order in which the client puts the candidates.
std::vector<std::size_t> order_of(BuiltinDecision& client, const std::string& question,
                                  const std::vector<std::string>& lines) {
  const auto [state, questions] = engines::rerank_request(question, lines);
  return engines::rerank_order(client.decide(state, questions, {}), lines.size());
}

BuiltinDecision shipped() {
  return {shipped_decision_file(),
          std::make_shared<embedding::BuiltinEngine>(embedding::shipped_model_file())};
}

TEST(BuiltinDecision, TakesLinesApartHoweverTheyWereCut) {
  struct Case {
    std::string line, kind, fqn, name, path, signature, docstring;
  };
  const std::vector<Case> cases = {
      {"12. function a.b.parse in src/a.py: parse(x = a - b) -> int - Reads in: all.", "function",
       "a.b.parse", "parse", "src/a.py", "parse(x = a - b) -> int", "Reads in: all."},
      {"1. class N::Box in box.h - A box.", "class", "N::Box", "Box", "box.h", "", "A box."},
      {"1. method Box::operator. in box.h: f", "method", "Box::operator.", "Box::operator.",
       "box.h", "f", ""},
      {"2. method a.b", "method", "a.b", "b", "", "", ""},
      {"3. struct", "struct", "", "", "", "", ""},
      {"1.5 in x", "1.5", "in x", "in x", "", "", ""},
      {"", "", "", "", "", "", ""},
      {"1. type a in \xC3", "type", "a", "a", "\xC3", "", ""}};
  for (const Case& expected : cases) {
    const Candidate read = parse_candidate(expected.line);
    EXPECT_EQ(read.kind, expected.kind) << expected.line;
    EXPECT_EQ(read.fqn, expected.fqn) << expected.line;
    EXPECT_EQ(read.name, expected.name) << expected.line;
    EXPECT_EQ(read.path, expected.path) << expected.line;
    EXPECT_EQ(read.signature, expected.signature) << expected.line;
    EXPECT_EQ(read.docstring, expected.docstring) << expected.line;
  }
}

TEST(BuiltinDecision, CountsWhatQuestionAndCandidateShare) {
  const test::TemporaryFolder folder;
  test::write_model(folder.path() / "m", {{"parse", {1, 0}}, {"config", {0, 1}}});
  const auto model = embedding::WordModel::open(folder.path() / "m");
  const std::vector<FeatureRow> rows =
      features({"Parsing the config files",
                {"1. function pkg.parse_config in src/config.py: parse_config(text) - Reads it.",
                 "2. class app.Server in src/server.py"}},
               *model);
  ASSERT_EQ(rows.size(), 2U);
  const auto number = [&](std::size_t row, Feature feature) {
    return rows[row][static_cast<std::size_t>(feature)];
  };
  // The question's stems are pars, config, fil. "pars" and "config" are in one of two candidates,
  // and count ln((2 + 1) / (1 + .5)) = ln 2 as rare words, "fil" is in none: ln(3 / .5) = ln 6.
  const double rare = 2 * std::log(2) / (2 * std::log(2) + std::log(6));
  const std::vector<std::pair<Feature, std::array<double, 2>>> expected = {
      {Feature::reciprocal_place, {1, 0.5}},
      {Feature::log_place, {1, std::log2(3)}},
      {Feature::cosine_reciprocal_rank, {1, 0.5}},
      {Feature::cosine_deviation, {1, -1}},         // of two, one is one deviation above, one below
      {Feature::name_cosine, {std::sqrt(0.5), 0}},  // "parsing" has no vector: (0, 1) and (1, 1)
      {Feature::docstring_cosine, {0, 0}},
      {Feature::name_recall, {2.0 / 3, 0}},
      {Feature::name_precision, {1, 0}},
      {Feature::signature_precision, {2.0 / 3, 0}},  // of pars, config, text
      {Feature::path_recall, {1.0 / 3, 0}},
      {Feature::path_precision, {1.0 / 3, 0}},  // of src, config, py
      {Feature::line_recall, {2.0 / 3, 0}},
      {Feature::name_rare_recall, {rare, 0}},
      {Feature::line_rare_recall, {rare, 0}},
      {Feature::line_rare_deviation, {1, -1}},
      {Feature::name_covered, {1, 0}},
      {Feature::name_spelled, {0, 0}},
      {Feature::file_covered, {1, 0}},
      {Feature::pair_recall, {0.5, 0}},  // parse config of two neighbourships
      {Feature::same_file, {0, 0}},
      {Feature::is_function, {1, 0}},
      {Feature::is_type, {0, 1}},
      {Feature::has_docstring, {1, 0}},
      {Feature::name_words, {std::log(3), std::log(2)}},
      {Feature::path_folders, {std::log(2), std::log(2)}}};
  for (const auto& [feature, values] : expected) {
    for (std::size_t row = 0; row < 2; ++row) {
      EXPECT_NEAR(number(row, feature), values[row], 1e-6)
          << FEATURE_NAMES[static_cast<std::size_t>(feature)] << " of " << row + 1;
    }
  }
}

TEST(BuiltinDecision, PutsThePlainAnswerFirstAndKeepsWhatItCannotTellApart) {
  BuiltinDecision client = shipped();
  EXPECT_TRUE(engines::source_consented(client));
  EXPECT_EQ(
      order_of(client, "where are retries of a request delayed",
               {"class app.Window in app/window.py: class Window - A window.",
                "method app.Window.paint in app/window.py: paint(self, where)",
                "function net.delay_retry in net/retry.py: delay_retry(request) - Waits before "
                "a request is tried again."})[0],
      2U);
  std::vector<std::size_t> kept(12);
  for (std::size_t i = 0; i < kept.size(); ++i) kept[i] = i;
  for (const char* line : {"function f in a.c: f(x)", "", "\xC3", "9", " in : - "}) {
    for (const char* question : {"f of x", "", "\xE2\x82 in \xFF"}) {
      EXPECT_EQ(order_of(client, question, std::vector<std::string>(12, line)), kept) << line;
    }
  }
  EXPECT_EQ(order_of(client, "f", {"function f"}), std::vector<std::size_t>{0});
}

TEST(BuiltinDecision, ComesWithWeightsOfTheModelThatItComesWith) {
  EXPECT_EQ(read_weights(shipped_decision_file()).model,
            embedding::WordModel::open(embedding::shipped_model_file())->name());
}

TEST(BuiltinDecision, RefusesAFileThatIsNotWhole) {
  const test::TemporaryFolder folder;
  const fs::path file = folder.path() / "w";
  DecisionWeights weights = {"test-1", {}};
  for (std::size_t i = 0; i < FEATURES; ++i) weights.weights[i] = std::sqrt(double(i)) - 2.0;
  const std::string whole = weights_text(weights);
  const auto fault = [&](const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
    try {
      return read_weights(file) == weights ? std::string() : "other weights";
    } catch (const WeightsFileError& error) {
      return std::string(error.what());
    }
  };
  EXPECT_EQ(fault(whole), "");
  EXPECT_NE(fault(whole + "\n").find("checksum is wrong"), std::string::npos);
  EXPECT_NE(fault(std::string(70000, 'a')).find("is larger than 65536 bytes"), std::string::npos);
  for (std::size_t i = 0; i < whole.size(); i += 16) EXPECT_NE(fault(whole.substr(0, i)), "");
  for (std::size_t i = 0; i < whole.size(); ++i) {
    std::string flipped = whole;
    flipped[i] = static_cast<char>(flipped[i] ^ 1 << i % 8);
    ASSERT_NE(fault(flipped), "") << i;
  }
}

}  // namespace
}  // namespace velmora::host::decision
