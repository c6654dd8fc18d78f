#include "lessons.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <utility>

#include "tree_split.h"

namespace velmora::train {
namespace {

Lesson lesson_of(std::span<const Pair> pairs, const std::string& repository,
                 const ExamOptions& options) {
  Collected all = collect(pairs, repository);
  Lesson lesson;
  lesson.tree.repository = repository;
  for (Pair& symbol : all.symbols) {
    lesson.tree.symbols.push_back({.fqn = std::move(symbol.fqn),
                                   .name = std::move(symbol.name),
                                   .kind = "function",
                                   .language = "c",  // one that takes part
                                   .path = std::move(symbol.path),
                                   .start_line = 1,
                                   .end_line = 1,
                                   .signature = std::move(symbol.signature),
                                   .docstring = std::move(symbol.docstring),
                                   .body = std::move(symbol.body)});
  }
  const std::vector<bool> nothing(lesson.tree.symbols.size(), false);
  TreeExam docs = {PairKind::doc, draw(std::move(all.docs), options), nothing};
  for (const Question& question : docs.questions) {
    for (const std::uint32_t symbol : question.answers) docs.hidden[symbol] = true;
  }
  TreeExam commits = {PairKind::commit, draw(std::move(all.commits), options), nothing};
  for (TreeExam* exam : {&docs, &commits}) {
    if (!exam->questions.empty()) lesson.exams.push_back(std::move(*exam));
  }
  return lesson;
}

}  // namespace

bool is_learned_from(std::string_view repository) {
  return tree_set(repository) == TreeSet::training &&
         std::find(VALIDATION_REPOSITORIES.begin(), VALIDATION_REPOSITORIES.end(), repository) ==
             VALIDATION_REPOSITORIES.end();
}

std::vector<Lesson> lessons_of(std::span<const Pair> pairs, const ExamOptions& options) {
  std::set<std::string, std::less<>> repositories;
  for (const Pair& pair : pairs) repositories.insert(pair.repository);
  std::vector<Lesson> lessons;
  for (const std::string& repository : repositories) {
    lessons.push_back(lesson_of(pairs, repository, options));
  }
  return lessons;
}

std::vector<Lesson> lessons_of(std::span<const std::filesystem::path> trees,
                               const ExamOptions& options, Workers& workers) {
  std::vector<Lesson> lessons(trees.size());
  workers.run(trees.size(), [&](std::size_t number) {
    lessons[number].tree = read_tree(trees[number]);
    lessons[number].exams = make_tree_exams(lessons[number].tree, options);
  });
  return lessons;
}

}  // namespace velmora::train
