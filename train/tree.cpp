#include "tree.h"

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "gzip_lines.h"
#include "question_text.h"
#include "velmora/utils/language_filter.h"
#include "velmora/utils/path_filter.h"
#include "velmora/workers/retrieval.h"

namespace velmora::train {
namespace {

using nlohmann::json;
namespace retrieval = workers::retrieval;

constexpr std::size_t FEWEST_WORDS = 2;
constexpr std::size_t LONGEST_QUESTION = 300;
constexpr std::size_t MOST_ANSWERS = 8;

std::string text_or_nothing(const json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() || found->is_null() ? std::string() : found->get<std::string>();
}

void read_head(std::string_view line, Tree& tree) {
  const json head = json::parse(line);
  tree.repository = head.at("repository").get<std::string>();
  tree.commit = head.at("commit").get<std::string>();
  for (const json& question : head.at("questions")) {
    tree.commits.push_back({question.at("query").get<std::string>(),
                            question.at("answers").get<std::vector<std::uint32_t>>()});
  }
}

TreeSymbol symbol_of(const json& row) {
  TreeSymbol symbol = {.fqn = row.at("fqn").get<std::string>(),
                       .name = row.at("name").get<std::string>(),
                       .kind = row.at("kind").get<std::string>(),
                       .language = row.at("language").get<std::string>(),
                       .path = row.at("path").get<std::string>(),
                       .start_line = row.at("start_line").get<std::int64_t>(),
                       .end_line = row.at("end_line").get<std::int64_t>(),
                       .signature = text_or_nothing(row, "signature"),
                       .docstring = text_or_nothing(row, "docstring")};
  if (const auto words = row.find("words"); words != row.end()) {
    for (const json& word : *words) {
      if (!symbol.body.empty()) symbol.body += ' ';
      symbol.body += word.get_ref<const std::string&>();
    }
  }
  return symbol;
}

bool says_enough(std::string_view question) {
  return question.size() <= LONGEST_QUESTION &&
         retrieval::query_terms(question).size() >= FEWEST_WORDS;
}

bool takes_part(const TreeSymbol& symbol) {
  return retrieval::RETRIEVABLE_KINDS.contains(symbol.kind) &&
         utils::SOURCE_LANGUAGES.contains(symbol.language);
}

std::vector<Question> doc_questions(const Tree& tree) {
  std::vector<Question> questions;
  std::unordered_map<std::string, std::size_t> numbers;
  for (std::uint32_t id = 0; id < tree.symbols.size(); ++id) {
    const TreeSymbol& symbol = tree.symbols[id];
    if (symbol.docstring.empty() || !takes_part(symbol) || utils::is_test_path(symbol.path)) {
      continue;
    }
    std::string text = first_sentence(symbol.docstring, symbol.name);
    if (!says_enough(text)) continue;
    const auto [number, fresh] = numbers.emplace(text, questions.size());
    if (fresh) questions.push_back({std::move(text), {}});
    questions[number->second].answers.push_back(id);
  }
  std::erase_if(questions, [](const Question& q) { return q.answers.size() > MOST_ANSWERS; });
  return questions;
}

}  // namespace

std::string tree_repository_of(const std::filesystem::path& file) {
  std::string name = file.filename().string();
  name = name.substr(0, name.find(".jsonl"));
  std::replace(name.begin(), name.end(), '+', '/');
  return name;
}

Tree read_tree(const std::filesystem::path& file) {
  Tree tree;
  read_gzip_lines(file, [&](std::string_view line, std::size_t number) {
    try {
      if (number == 1) return read_head(line, tree);
      const json row = json::parse(line);
      if (row.at("id").get<std::size_t>() != tree.symbols.size()) {
        throw std::runtime_error("its id is out of order");
      }
      tree.symbols.push_back(symbol_of(row));
    } catch (const std::exception& error) {
      throw std::runtime_error(std::string("does not belong to a tree: ") + error.what());
    }
  });
  for (const Question& question : tree.commits) {
    for (const std::uint32_t answer : question.answers) {
      if (answer < tree.symbols.size()) continue;
      throw std::runtime_error(file.string() + ": a question is answered by a symbol that is not" +
                               " there");
    }
  }
  return tree;
}

std::vector<TreeExam> make_tree_exams(const Tree& tree, const ExamOptions& options) {
  std::vector<TreeExam> exams;
  const std::vector<bool> nothing(tree.symbols.size(), false);
  TreeExam docs = {PairKind::doc, draw(doc_questions(tree), options), nothing};
  for (const Question& question : docs.questions) {
    for (const std::uint32_t id : question.answers) docs.hidden[id] = true;
  }
  if (!docs.questions.empty()) exams.push_back(std::move(docs));
  std::vector<Question> asked = tree.commits;
  std::erase_if(asked, [](const Question& question) { return !says_enough(question.text); });
  TreeExam commits = {PairKind::commit, draw(std::move(asked), options), nothing};
  if (!commits.questions.empty()) exams.push_back(std::move(commits));
  return exams;
}

}  // namespace velmora::train
