#include "decision/decision_weights.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>

#include "embedding/word_bag.h"

namespace velmora::host::decision {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view HEAD = "velmora decision weights ";
constexpr std::string_view VERSION = "1";
constexpr std::string_view MODEL = "model ";
constexpr std::string_view CHECKSUM = "checksum ";
constexpr std::size_t LARGEST_FILE = std::size_t{64} << 10;
// Keeps scores far from the end of their type.
constexpr double LARGEST_WEIGHT = 1e6;

std::string number_text(double number) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  return {digits.data(), end};
}

std::string checksum_line(std::string_view text) {
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx",
                static_cast<unsigned long long>(embedding::word_hash(text)));
  return std::string(CHECKSUM) + digits.data() + "\n";
}

// What is wrong stands behind the file's name.
[[noreturn]] void fail(const std::string& what) { throw WeightsFileError(what); }

std::string_view take_line(std::string_view& text) {
  const std::size_t end = text.find('\n');
  if (end == text.npos) fail("is damaged: it ends too early");
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end + 1);
  return line;
}

// What stands behind `before` in the next line.
std::string_view take_value(std::string_view& text, std::string_view before) {
  const std::string_view line = take_line(text);
  if (!line.starts_with(before)) {
    fail("is damaged: a line should begin with \"" + std::string(before) + "\"");
  }
  return line.substr(before.size());
}

double weight_of(std::string_view digits) {
  double weight = 0.0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), weight);
  if (error != std::errc() || end != digits.data() + digits.size() ||
      !(std::abs(weight) <= LARGEST_WEIGHT)) {
    fail("is damaged: a weight is no usable number");
  }
  return weight;
}

DecisionWeights parse(std::string_view text) {
  if (!text.starts_with(HEAD)) fail("is no file of weights");
  const std::string_view version = text.substr(HEAD.size(), text.find('\n') - HEAD.size());
  const std::size_t sum = text.rfind(CHECKSUM);
  if (sum == text.npos || text.substr(sum) != checksum_line(text.substr(0, sum))) {
    fail("is cut short or damaged: its checksum is wrong");
  }
  if (version != VERSION) {
    fail("has format version " + std::string(version) + ", and this program reads version " +
         std::string(VERSION));
  }
  text = text.substr(0, sum);
  take_line(text);
  DecisionWeights weights;
  weights.model = take_value(text, MODEL);
  for (std::size_t i = 0; i < FEATURES; ++i) {
    weights.weights[i] = weight_of(take_value(text, std::string(FEATURE_NAMES[i]) + " "));
  }
  if (!text.empty()) fail("is damaged: it holds more than the weights");
  return weights;
}

std::string content_of(const fs::path& file) {
  // A folder or a pipe would be opened, and the latter waited for.
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) fail("is missing");
  if (!fs::is_regular_file(status)) fail("is not a file");
  std::ifstream in(file, std::ios::binary);
  std::string text(LARGEST_FILE + 1, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!in.is_open() || in.bad()) fail("cannot be read");
  text.resize(static_cast<std::size_t>(in.gcount()));
  if (text.size() > LARGEST_FILE) {
    fail("is larger than " + std::to_string(LARGEST_FILE) + " bytes");
  }
  return text;
}

}  // namespace

std::string weights_text(const DecisionWeights& weights) {
  std::string text =
      std::string(HEAD).append(VERSION).append("\n").append(MODEL).append(weights.model) + "\n";
  for (std::size_t i = 0; i < FEATURES; ++i) {
    text.append(FEATURE_NAMES[i]).append(" ").append(number_text(weights.weights[i])).append("\n");
  }
  return text + checksum_line(text);
}

DecisionWeights read_weights(const fs::path& file) {
  try {
    return parse(content_of(file));
  } catch (const WeightsFileError& error) {
    throw WeightsFileError("The file of decision weights " + file.string() + " " + error.what());
  }
}

}  // namespace velmora::host::decision
