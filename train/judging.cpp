#include "judging.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

#include "browse/sentence.h"
#include "evaluation.h"
#include "settings/settings.h"

namespace velmora::train {
namespace {

using host::embedding::WordModel;
namespace retrieval = workers::retrieval;

// As the program's engine does: a question of words that mean nothing to the model is not embedded.
retrieval::QueryEmbedder embedder(std::shared_ptr<const WordModel> model) {
  if (!model) return {};  // no channel of meaning
  return [model = std::move(model)](std::string_view query) {
    retrieval::QueryVector vector = {std::vector<float>(model->dimensions()), model->name()};
    model->embed_query(query, vector.values);
    if (std::ranges::all_of(vector.values, [](float value) { return value == 0.0F; })) {
      throw TryAgainLaterError("The embedding model knows none of the question's words");
    }
    return vector;
  };
}

std::uint32_t count_words(const std::string& text) {
  std::istringstream in(text);
  std::uint32_t count = 0;
  for (std::string word; in >> word;) ++count;
  return count;
}

}  // namespace

std::string name_of(const Parts& parts) {
  std::string name;
  const auto add = [&](bool is_on, const char* part) {
    if (is_on) name.append(name.empty() ? "" : " + ").append(part);
  };
  add(parts.sentences, "sentences");
  add(parts.bodies, "bodies");
  add(parts.model, "model");
  add(parts.settings, "settings");
  add(parts.decision, "decision");
  return name.empty() ? "fusion" : name;
}

std::uint32_t rank_of(const std::vector<retrieval::Hit>& hits, const Question& question) {
  for (std::size_t i = 0; i < hits.size(); ++i) {
    if (std::binary_search(question.answers.begin(), question.answers.end(),
                           static_cast<std::uint32_t>(hits[i].symbol.id))) {
      return static_cast<std::uint32_t>(i + 1);
    }
  }
  return 0;
}

ExamAsker::ExamAsker(const Tree& tree, const TreeExam& exam, EmbeddingModels models,
                     std::shared_ptr<engines::RerankClient> decisions)
    : tree_(tree),
      exam_(exam),
      decisions_(std::move(decisions)),
      embedded_{Embedded{std::move(models.before)}, Embedded{std::move(models.now)}} {
  for (const TreeSymbol& symbol : tree.symbols) {
    if (!velmora::models::CALLABLE_KINDS.contains(symbol.kind)) things_.insert(symbol.name);
  }
}

ExamAsker::Embedded& ExamAsker::embedded(bool now) {
  Embedded& one = embedded_.at(now ? 1 : 0);
  if (one.model && !one.vectors) {
    one.vectors = std::make_shared<TreeVectors>(tree_, exam_.hidden, *one.model);
  }
  return one;
}

retrieval::RetrievalResult ExamAsker::ask(const Question& question, const Parts& parts) {
  std::unique_ptr<retrieval::HybridRetriever>& retriever =
      retrievers_[{parts.bodies, parts.model, parts.settings}];
  if (!retriever) {
    const Embedded& by = embedded(parts.model);
    retriever = std::make_unique<retrieval::HybridRetriever>(
        std::make_shared<TreeRepository>(tree_, exam_, by.vectors, parts.bodies),
        retrieval::RetrieverOptions{.embedder = embedder(by.model),
                                    .settings = parts.settings
                                                    ? host::settings::standard_retrieval_settings()
                                                    : retrieval::RetrievalSettings(),
                                    .decisions = decisions_});
  }
  const auto is_thing = [&](std::string_view word) { return things_.contains(word); };
  return retriever->retrieve(
      parts.sentences ? host::browse::read_as_sentence(question.text, is_thing) : question.text,
      {.limit = ANSWER_LIMIT, .rerank = parts.decision});
}

JudgedTree judge(const Tree& tree, std::span<const Parts> parts, const ExamOptions& options,
                 const EmbeddingModels& models,
                 const std::shared_ptr<engines::RerankClient>& decisions) {
  JudgedTree judged = {tree.repository, tree.commit, tree.symbols.size(), {}};
  for (const TreeExam& exam : make_tree_exams(tree, options)) {
    ExamAsker asker(tree, exam, models, decisions);
    for (const Question& question : exam.questions) {
      JudgedQuestion& asked = judged.questions.emplace_back();
      asked.kind = exam.kind;
      asked.words = count_words(question.text);
      for (const Parts& some : parts) {
        asked.ranks.push_back(rank_of(asker.ask(question, some).hits, question));
      }
    }
  }
  return judged;
}

}  // namespace velmora::train
