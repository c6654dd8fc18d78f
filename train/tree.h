// Whole source trees: every symbol that the indexer finds at one commit, and questions whose right
// answers are known.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "exam.h"
#include "pairs.h"
#include "velmora/host/embedding/word_model.h"

namespace velmora::train {

struct TreeSymbol {
  std::string fqn = {};
  std::string name = {};
  std::string kind = {};
  std::string language = {};
  std::string path = {};
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;
  std::string signature = {};  // empty: none
  std::string docstring = {};  // empty: none
  std::string body = {};       // distinct words of its source, in order, with spaces between

  bool operator==(const TreeSymbol&) const = default;

  [[nodiscard]] host::embedding::SymbolParts parts(bool hides_docstring) const {
    return {name, fqn, signature, path, hides_docstring ? std::string_view() : docstring, body};
  }
};

struct Tree {
  std::string repository = {};  // "owner/name"
  std::string commit = {};      // the one at which the symbols were read
  std::vector<TreeSymbol> symbols = {};
  std::vector<Question> commits = {};  // subjects of later commits, and what these changed
};

// The repository whose tree a file "owner+name.jsonl.gz" holds.
[[nodiscard]] std::string tree_repository_of(const std::filesystem::path& file);

// Reads such a file, compressed or not: a line {"repository", "commit", "questions": [{"query",
// "answers": [ids]}]}, then a line for each symbol, whose ids count from 0. Throws
// std::runtime_error that names the file and the line.
[[nodiscard]] Tree read_tree(const std::filesystem::path& file);

// Questions of one kind about a tree, and what is hidden from whoever answers them.
struct TreeExam {
  PairKind kind = PairKind::commit;
  std::vector<Question> questions = {};
  std::vector<bool> hidden = {};  // for each symbol, whether its docstring is
};

// An exam of each kind that the tree has questions for, docs first. A doc question is the first
// sentence of the docstrings of some symbols outside of tests, which are hidden; one that more than
// eight symbols share says too little about each. Questions of fewer than two words or more than
// 300 bytes are left out.
[[nodiscard]] std::vector<TreeExam> make_tree_exams(const Tree& tree, const ExamOptions& options);

}  // namespace velmora::train
