#include "indexing/notebook.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "indexing/language_names.h"

namespace velmora::host::indexing {
namespace {

constexpr std::string_view NO_NOTEBOOK = "it is no notebook that can be read";
constexpr std::string_view NOT_BY_LINE =
    "it has several lines of code on one line: Jupyter saves a line a line";
constexpr std::string_view OTHER_LANGUAGE = "its code is of a language that is not indexed";

// The bytes of a text, counting the lines that are behind.
class Bytes {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  Bytes(const char* at, std::size_t& line) : at_(at), line_(&line) {}
  reference operator*() const { return *at_; }
  Bytes& operator++() {
    if (*at_ == '\n') ++*line_;
    ++at_;
    return *this;
  }
  bool operator==(const Bytes& other) const { return at_ == other.at_; }
  bool operator!=(const Bytes& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  std::size_t* line_;
};

struct Line {
  std::size_t number;
  std::string text;
};

// What a parser calls with each thing that it read, in the order of the file.
class Reader : public nlohmann::json_sax<nlohmann::json> {
 public:
  // `line` is the one that the parser is at.
  explicit Reader(const std::size_t& line) : line_(line) {}

  [[nodiscard]] const std::vector<Line>& code() const { return code_; }
  [[nodiscard]] bool is_by_line() const { return is_by_line_; }
  [[nodiscard]] bool has_cells() const { return has_cells_; }
  [[nodiscard]] const std::string& language() const { return language_; }

  bool null() override { return true; }
  bool boolean(bool /*value*/) override { return true; }
  bool number_integer(number_integer_t /*value*/) override { return true; }
  bool number_unsigned(number_unsigned_t /*value*/) override { return true; }
  bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return true; }
  bool binary(binary_t& /*value*/) override { return true; }
  bool start_object(std::size_t /*size*/) override { return go_down(); }
  bool end_object() override {
    if (is_cell()) end_cell();
    return go_up();
  }
  bool start_array(std::size_t /*size*/) override {
    if (keys_.size() == 1 && keys_[0] == "cells") has_cells_ = true;
    return go_down();
  }
  bool end_array() override { return go_up(); }
  bool key(string_t& name) override {
    keys_.back() = std::move(name);
    return true;
  }
  bool parse_error(std::size_t /*place*/, const std::string& /*token*/,
                   const nlohmann::json::exception& /*error*/) override {
    return false;
  }

  bool string(string_t& value) override {
    if (stands_in({"metadata", "language_info", "name"}) ||
        (language_.empty() && stands_in({"metadata", "kernelspec", "language"}))) {
      language_ = value;
    } else if (is_in_cell() && keys_[2] == "cell_type" && keys_.size() == 3) {
      is_code_ = value == "code";
    } else if (is_in_cell() && keys_[2] == "source" && keys_.size() <= 4) {
      cell_.push_back({line_, std::move(value)});
    }
    return true;
  }

 private:
  // The keys on the way to what is read; empty for what a list holds.
  [[nodiscard]] bool stands_in(const std::array<std::string_view, 3>& keys) const {
    return std::ranges::equal(keys_, keys);
  }
  // In one of the objects in the list "cells".
  [[nodiscard]] bool is_in_cell() const { return keys_.size() >= 3 && keys_[0] == "cells"; }
  [[nodiscard]] bool is_cell() const { return keys_.size() == 3 && keys_[0] == "cells"; }

  bool go_down() {
    if (keys_.size() >= DEEPEST_NOTEBOOK) return false;
    keys_.emplace_back();
    return true;
  }
  bool go_up() {
    keys_.pop_back();
    return true;
  }

  void end_cell() {
    if (std::exchange(is_code_, false) && !is_of_another_language()) {
      for (Line& line : cell_) add(std::move(line));
    }
    cell_.clear();
  }

  // "%%bash" begins a cell of a shell; some other commands stand above the notebook's own language.
  [[nodiscard]] bool is_of_another_language() const {
    constexpr std::array<std::string_view, 5> OWN = {"time", "timeit", "capture", "prun", "memit"};
    for (const Line& line : cell_) {
      const std::string_view text = line.text;
      if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) continue;
      if (!text.starts_with("%%")) return false;
      const std::string_view command = text.substr(2, text.find_first_of(" \t\r\n") - 2);
      return std::ranges::find(OWN, command) == OWN.end();
    }
    return false;
  }

  void add(Line line) {
    if (line.text.ends_with('\n')) line.text.pop_back();
    const bool is_alone = code_.empty() || code_.back().number < line.number;
    is_by_line_ &= is_alone && line.text.find('\n') == std::string::npos;
    const std::size_t first = line.text.find_first_not_of(" \t");
    const bool is_command =
        first != std::string::npos && (line.text[first] == '%' || line.text[first] == '!');
    if (!is_command) code_.push_back(std::move(line));
  }

  const std::size_t& line_;
  std::vector<std::string> keys_;
  std::vector<Line> cell_;  // the strings of the cell that is open
  bool is_code_ = false;    // whether it is one of code
  bool has_cells_ = false;
  bool is_by_line_ = true;
  std::vector<Line> code_;
  std::string language_;
};

// The language that a notebook calls so: "python", "ipython", "R", "C++17".
std::string_view language_called(std::string name) {
  for (char& c : name) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (name == "ipython") return built_in("python");
  if (name.starts_with("c++")) return built_in("cpp");
  if (name == "c#") return built_in("csharp");
  return built_in(name);
}

}  // namespace

EmbeddedSource source_of_notebook(std::string_view language, std::string_view content) {
  std::size_t line = 1;
  Reader reader(line);
  const Bytes begin(content.data(), line);
  const Bytes end(content.data() + content.size(), line);
  if (!nlohmann::json::sax_parse(begin, end, &reader) || !reader.has_cells()) {
    return {.fault = NO_NOTEBOOK};
  }
  if (!reader.is_by_line()) return {.fault = NOT_BY_LINE};
  EmbeddedSource found{.language = language};
  if (!reader.language().empty()) found.language = language_called(reader.language());
  if (found.language.empty() && !language.empty()) return {.fault = OTHER_LANGUAGE};
  std::size_t number = 1;
  for (const Line& one : reader.code()) {
    found.text.append(one.number - number, '\n').append(one.text);
    number = one.number;
  }
  return found;
}

}  // namespace velmora::host::indexing
