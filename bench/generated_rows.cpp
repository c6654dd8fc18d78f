#include "generated_rows.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "random.h"
#include "velmora/workers/retrieval.h"

namespace velmora::bench {
namespace {

constexpr std::size_t WORDS = 30'000;
// Flattens the head of Zipf's law, as in names and docstrings without stop words.
constexpr double MANDELBROT_SHIFT = 6.0;
constexpr std::size_t FILE_SYMBOLS = 14;
constexpr std::size_t TOP_FOLDERS = 40;

template <std::size_t Size>
std::string_view any_of(Random& random, const std::string_view (&choices)[Size]) {
  return choices[random.below(Size)];
}

std::string made_up_word(Random& random) {
  static constexpr std::string_view ONSETS[] = {"b", "c", "d", "f",  "g",  "h",  "k",  "l",  "m",
                                                "n", "p", "r", "s",  "t",  "v",  "br", "cl", "dr",
                                                "f", "g", "p", "pl", "pr", "st", "tr"};
  static constexpr std::string_view VOWELS[] = {"a", "e", "i", "o", "u", "ea", "ou", "ai"};
  static constexpr std::string_view CODAS[] = {"", "", "n", "r", "l", "t", "m", "ck", "st"};
  std::string word;
  for (std::size_t syllable = random.between(2, 3); syllable > 0; --syllable) {
    word += any_of(random, ONSETS);
    word += any_of(random, VOWELS);
    word += any_of(random, CODAS);
  }
  return word;
}

std::vector<std::string> made_up_words(Random& random) {
  static constexpr std::string_view ENDINGS[] = {"s", "ed", "ing", "er", "able"};
  std::vector<std::string> words;
  std::unordered_set<std::string> seen;
  while (words.size() < WORDS) {
    std::string word = made_up_word(random);
    if (!words.empty() && random.below(5) == 0) {
      word = words[random.below(words.size())];
      word += any_of(random, ENDINGS);
    }
    if (workers::retrieval::STOP_WORDS.contains(word) || !seen.insert(word).second) continue;
    words.push_back(std::move(word));
  }
  return words;
}

std::string capitalised(std::string word) {
  word.front() = static_cast<char>(word.front() - 'a' + 'A');
  return word;
}

class Generator {
 public:
  explicit Generator(std::uint64_t seed) : random_(seed), words_(made_up_words(random_)) {
    double sum = 0;
    for (std::size_t rank = 1; rank <= WORDS; ++rank) {
      sum += 1.0 / (static_cast<double>(rank) + MANDELBROT_SHIFT);
      cumulative_.push_back(sum);
    }
  }

  Row next() {
    if (made_ % FILE_SYMBOLS == 0) begin_file();
    Row row;
    row.id = static_cast<models::SymbolId>(++made_);
    row.kind = random_.below(5) == 0 ? "class" : random_.below(2) == 0 ? "function" : "method";
    const std::size_t words = random_.between(2, 4);
    row.name = name(words, row.kind == "class");
    row.fqn = module_ + "." + row.name;
    row.path = path_;
    row.signature = row.name + "(";
    for (std::size_t parameter = random_.between(5, 10) - words; parameter > 0; --parameter) {
      *row.signature += word() + (parameter > 1 ? ", " : ")");
    }
    if (random_.below(2) == 0) row.docstring = docstring();
    return row;
  }

 private:
  const std::string& word() {
    const double at = random_.unit() * cumulative_.back();
    const auto found = std::upper_bound(cumulative_.begin(), cumulative_.end(), at);
    return words_[static_cast<std::size_t>(found - cumulative_.begin())];
  }

  void begin_file() {
    camel_case_ = random_.below(2) == 0;
    do {
      path_ = "src/main/" + words_[random_.below(TOP_FOLDERS)];
      for (std::size_t folder = random_.below(4); folder > 0; --folder) path_ += "/" + word();
      path_ += "/" + word() + "_" + word();
    } while (!paths_.insert(path_).second);
    module_ = path_;
    std::replace(module_.begin(), module_.end(), '/', '.');
    path_ += ".py";
  }

  std::string name(std::size_t words, bool is_class) {
    std::string name = is_class ? capitalised(word()) : word();
    for (std::size_t i = 1; i < words; ++i) {
      name += is_class || camel_case_ ? capitalised(word()) : "_" + word();
    }
    return name;
  }

  std::string docstring() {
    std::string text = capitalised(word());
    for (std::size_t i = random_.between(9, 39); i > 0; --i) text += " " + word();
    return text + ".";
  }

  Random random_;
  std::vector<std::string> words_;
  std::vector<double> cumulative_;
  std::unordered_set<std::string> paths_;
  std::size_t made_ = 0;
  bool camel_case_ = false;
  std::string path_;
  std::string module_;
};

}  // namespace

Rows generated_rows(std::size_t symbols, std::uint64_t seed) {
  Generator generator(seed);
  Rows rows;
  rows.reserve(symbols);
  while (rows.size() < symbols) rows.push_back(generator.next());
  return rows;
}

}  // namespace velmora::bench
