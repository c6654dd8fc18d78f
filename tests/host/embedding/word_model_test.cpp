#include "velmora/host/embedding/word_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "embedding/word_bag.h"
#include "support/files.h"

namespace velmora::host::embedding {
namespace {

namespace fs = std::filesystem;

class WordModelTest : public ::testing::Test {
 protected:
  // A folder for each test: CTest may run them side by side.
  WordModelTest()
      : folder_(fs::path(::testing::TempDir()) /
                (std::string("word_model_") +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
    fs::create_directories(folder_);
  }
  ~WordModelTest() override { fs::remove_all(folder_); }

  [[nodiscard]] const fs::path& folder() const { return folder_; }
  [[nodiscard]] fs::path file() const { return folder_ / "words.model"; }

  [[nodiscard]] std::string read() const { return test::content_of(file()); }

  void write(const std::string& bytes) const {
    std::ofstream(file(), std::ios::binary | std::ios::trunc) << bytes;
  }

 private:
  const fs::path folder_;
};

const SymbolSettings SETTINGS = {.name = {2.0F, 8},
                                 .fqn = {1.0F, 8},
                                 .signature = {0.5F, 2},
                                 .path = {0.0F, 8},
                                 .docstring = {0.25F, 8},
                                 .body = {0.5F, 2}};

// Twenty words whose numbers follow a rule, of very different sizes.
WordModelData some_model() {
  WordModelData data = {.base_name = "test", .settings = SETTINGS, .dimensions = 5};
  for (int word = 0; word < 20; ++word) {
    data.words.push_back("word" + std::string(1, static_cast<char>('a' + word)));
    for (int i = 0; i < 5; ++i) {
      data.rows.push_back(static_cast<float>(std::sin(7 * word + 3 * i) * std::pow(4.0, word % 7)));
    }
  }
  return data;
}

TEST(WordBag, AddsTheWeightsOfAWordsPlacesAndDampsWhatIsAboveOne) {
  const SymbolParts symbol = {.name = "readFile",
                              .fqn = "io.readFile",
                              .signature = "read(path, mode)",
                              .path = "never/seen.py",
                              .docstring = "Reads the path",
                              .body = "file seek tell"};
  // read: 2 + 1 + 0.5; file: 2 + 1 + 0.5; io: 1; path: 0.5 + 0.25; seek: 0.5; mode is the
  // signature's third word, and tell the body's.
  const auto damped = [](float weight) { return 1.0F + std::log(weight); };
  EXPECT_EQ(symbol_bag(symbol, SETTINGS), (WordBag{{"read", damped(3.5F)},
                                                   {"file", damped(3.5F)},
                                                   {"io", 1.0F},
                                                   {"path", 0.75F},
                                                   {"reads", 0.25F},
                                                   {"seek", 0.5F}}));
  EXPECT_EQ(query_bag("read the file, read it"), (WordBag{{"read", 1.0F}, {"file", 1.0F}}));
}

TEST_F(WordModelTest, EmbedsAsPlainArithmeticDoesWithinTheRounding) {
  const WordModelData data = some_model();
  // The longest error of a word's numbers is half a step, a step being its largest / 127.
  for (const auto& [kind, tolerance] :
       {std::pair(RowKind::float32, 1e-5), std::pair(RowKind::int8, 0.02)}) {
    write_word_model(file(), data, kind);
    const auto model = WordModel::open(file());
    std::vector<float> got(5);
    for (std::uint32_t word = 0; word + 1 < data.words.size(); ++word) {
      model->embed_query(data.words[word] + " unknown " + data.words[word + 1], got);
      std::vector<double> sum(5);
      double length = 0.0;
      for (std::size_t i = 0; i < 5; ++i) {
        sum[i] = double{data.rows[word * 5 + i]} + double{data.rows[(word + 1) * 5 + i]};
        length += sum[i] * sum[i];
      }
      for (std::size_t i = 0; i < 5; ++i)
        EXPECT_NEAR(got[i], sum[i] / std::sqrt(length), tolerance);
    }
  }
}

TEST_F(WordModelTest, KeepsWordsAndSettingsAndNamesItselfByItsContent) {
  WordModelData data = some_model();
  write_word_model(file(), data);
  const auto model = WordModel::open(file());
  EXPECT_EQ(model->dimensions(), 5U);
  EXPECT_EQ(model->data().words, data.words);
  EXPECT_EQ(model->data().settings, data.settings);
  EXPECT_EQ(model->name().substr(0, 5), "test-");
  EXPECT_EQ(model->name().size(), 13U);

  std::vector<float> none(5, 9.0F);
  model->embed_query("nothing of this is known", none);
  EXPECT_EQ(none, std::vector<float>(5, 0.0F));

  const std::string bytes = read();
  write_word_model(file(), data);
  EXPECT_EQ(read(), bytes);
  const auto open = WordModel::open(file());
  fs::resize_file(file(), 0);
  EXPECT_EQ(open->data().words, data.words);
  data.rows[3] += 100.0F;
  write_word_model(file(), data);
  EXPECT_NE(WordModel::open(file())->name(), model->name());
}

// The numbers that a hash draws are the bits of SplitMix64, one after the other: nothing but the
// word says what they are, so an index made by one build is good for another.
TEST(WordBag, DrawsAnUnknownWordBitByBit) {
  const auto sign = [](std::string_view drawn, std::size_t i) {
    std::uint64_t bits = word_hash(drawn) + (i / 64 + 1) * 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
    bits ^= bits >> 31U;
    return (bits >> i % 64 & 1) != 0 ? 1.0 : -1.0;
  };
  // "<a>" is how the word begins and its only run of three letters.
  for (const std::size_t size : {1U, 31U, 32U, 33U, 63U, 64U, 65U, 100U, 256U}) {
    std::vector<float> got(size, 0.0F);
    add_unknown_word("a", 2.0F, got);
    for (std::size_t i = 0; i < size; ++i) {
      const double drawn = 0.4472136 * sign("a", i) + (0.4 + 0.8) * sign("<a>", i);
      EXPECT_NEAR(got[i], 2.0 / std::sqrt(double(size)) * drawn, 1e-6) << i << " of " << size;
    }
  }
}

TEST_F(WordModelTest, GivesUnknownWordsVectorsOfTheirOwnThatResembleByTheirLetters) {
  WordModelData data = {.base_name = "test", .dimensions = 256, .unknown_length = 3.0F};
  write_word_model(file(), data);
  const auto model = WordModel::open(file());
  const auto cosine = [&](std::string_view question, const SymbolParts& symbol) {
    std::vector<float> left(256);
    std::vector<float> right(256);
    model->embed_query(question, left);
    model->embed_symbol(symbol, right);
    return std::inner_product(left.begin(), left.end(), right.begin(), 0.0);
  };
  // Two vectors of random signs have a cosine of 0 give or take 1 / 16. Of the runs of three
  // letters of "tokenizer" and "tokenizers", <to to tok oke ken eni niz ize zer, all but the last
  // are the same, which are 8 of 9 and 8 of 10, and so is the beginning, <toke: their shares of the
  // vector give 0.64 * 8 / sqrt(90) + 0.16 = 0.70.
  EXPECT_NEAR(cosine("tokenizer", {.name = "Tokenizer"}), 1.0, 1e-5);
  EXPECT_NEAR(cosine("tokenizer", {.name = "tokenizers"}), 0.70, 0.2);
  EXPECT_NEAR(cosine("tokenizer", {.name = "upload"}), 0.0, 0.2);
  EXPECT_GT(cosine("tokenizer", {.name = "tokenizers"}), cosine("tokenizer", {.name = "upload"}));
  EXPECT_EQ(cosine("the of", {.name = "upload"}), 0.0);
}

TEST_F(WordModelTest, RefusesEveryDamageAndSaysWhichFile) {
  EXPECT_THROW((void)WordModel::open(file()), ModelFileError);
  write_word_model(file(), some_model());
  const std::string whole = read();
  const auto fault_of = [&](const std::string& bytes) -> std::string {
    write(bytes);
    try {
      (void)WordModel::open(file());
    } catch (const ModelFileError& error) {
      return error.what();
    }
    return "none";
  };
  ASSERT_EQ(fault_of(whole), "none");
  const std::string start = "The model file " + file().string() + " ";
  for (std::size_t at = 0; at < whole.size(); ++at) {
    std::string flipped = whole;
    flipped[at] = static_cast<char>(flipped[at] ^ 0x10);
    EXPECT_TRUE(fault_of(flipped).starts_with(start)) << "byte " << at;
  }
  for (std::size_t size = 0; size < whole.size(); size += 7) {
    EXPECT_TRUE(fault_of(whole.substr(0, size)).starts_with(start)) << size << " bytes";
  }
  EXPECT_TRUE(fault_of(whole + "x").find("cut short or damaged") != std::string::npos);
  std::string other = whole;
  other[8] = 7;  // the version
  EXPECT_EQ(fault_of(other), start + "has format version 7, and this program reads version 4");
  EXPECT_EQ(fault_of("PK" + whole.substr(2)), start + "is no model");
}

// Tuned models of version 3 are kept in repositories. It knew no bodies.
TEST_F(WordModelTest, ReadsTheVersionBefore) {
  // Two words of two numbers, "red" {1, 0} and "sea" {0, 1}; every part of weight 1.
  const std::string hex =
      "56454c574f52445303000000010000000200000002000000080000000600000001000000000000000000803f"
      "080000000000803f080000000000803f080000000000803f080000000000803f08000000f7d4473adb431dd1"
      "000000000000000000000000000000000000000001000000020000000000000003000000060000000402013c"
      "0402013c7265647365616d7f00007f";
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  write(bytes);
  const auto model = WordModel::open(file());
  EXPECT_EQ(model->data().settings.docstring, (PartSettings{1.0F, 8}));
  std::vector<float> vector(2);
  model->embed_symbol({.name = "red", .body = "sea"}, vector);
  EXPECT_NEAR(vector[0], 1.0F, 1e-6F);
  EXPECT_EQ(vector[1], 0.0F);
}

// A repository may bring links along where its tuned model is written.
TEST_F(WordModelTest, IsNotWrittenThroughLinks) {
  const fs::path victim = folder() / "victim";
  std::ofstream(victim) << "kept";
  for (const char* end : {"", ".partial"}) fs::create_symlink(victim, file().string() + end);
  write_word_model(file(), some_model());
  EXPECT_FALSE(fs::is_symlink(file()));
  EXPECT_EQ(WordModel::open(file())->data().words, some_model().words);
  EXPECT_EQ(test::content_of(victim), "kept");
}

TEST_F(WordModelTest, RefusesToWriteWhatNoModelIs) {
  const std::vector<std::function<void(WordModelData&)>> faults = {
      [](WordModelData& data) { data.base_name.clear(); },
      [](WordModelData& data) { data.rows.pop_back(); },
      [](WordModelData& data) { data.rows[2] = std::nanf(""); },
      [](WordModelData& data) { data.words[3] = data.words[4]; },
      [](WordModelData& data) { data.settings.path.weight = -1.0F; },
      [](WordModelData& data) { data.unknown_length = std::nanf(""); },
  };
  for (const auto& spoil : faults) {
    WordModelData data = some_model();
    spoil(data);
    EXPECT_THROW(write_word_model(file(), data), std::invalid_argument);
    EXPECT_FALSE(fs::exists(file()));
  }
}

}  // namespace
}  // namespace velmora::host::embedding
