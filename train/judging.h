// Asks whole trees their questions, through the retriever and with the settings of `velmora
// explore`, with the parts of the answer switched on one by one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "tree.h"
#include "tree_repository.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/workers/retrieval.h"

namespace velmora::train {

// What may be added to the fusion.
struct Parts {
  bool sentences = false;  // the first word of a sentence is read as prose
  bool bodies = false;     // text search reads the words of bodies
  bool model = false;      // the embedding model of now, not the one before it
  bool settings = false;   // the ranking of the program, not the one that the library comes with
  bool decision = false;   // the first hits are reordered

  bool operator==(const Parts&) const = default;

  // Whether all of `others` are among these.
  [[nodiscard]] bool hold(const Parts& others) const {
    return sentences >= others.sentences && bodies >= others.bodies && model >= others.model &&
           settings >= others.settings && decision >= others.decision;
  }
};

// "fusion", or what is added to it: "sentences + bodies".
[[nodiscard]] std::string name_of(const Parts& parts);

// The place, from 1, of the first hit whose id is among the question's answers; 0: there is none.
[[nodiscard]] std::uint32_t rank_of(const std::vector<workers::retrieval::Hit>& hits,
                                    const Question& question);

// The embedding models that are compared. Where one is null, no vectors take part.
struct EmbeddingModels {
  std::shared_ptr<const host::embedding::WordModel> now = nullptr;
  std::shared_ptr<const host::embedding::WordModel> before = nullptr;
};

// Puts the questions of one exam. One thread uses it at a time.
class ExamAsker {
 public:
  // `tree` and `exam` live as long as this. `decisions` may be null when none is asked for.
  ExamAsker(const Tree& tree, const TreeExam& exam, EmbeddingModels models = {},
            std::shared_ptr<engines::RerankClient> decisions = nullptr);

  // The first ANSWER_LIMIT hits, whose ids are numbers of the tree's symbols.
  [[nodiscard]] workers::retrieval::RetrievalResult ask(const Question& question,
                                                        const Parts& parts);

 private:
  const Tree& tree_;
  const TreeExam& exam_;
  // A model with the tree's vectors by it, made when first asked for.
  struct Embedded {
    std::shared_ptr<const host::embedding::WordModel> model = nullptr;
    std::shared_ptr<const TreeVectors> vectors = nullptr;
  };

  Embedded& embedded(bool now);

  const std::shared_ptr<engines::RerankClient> decisions_;
  std::unordered_set<std::string_view> things_;  // names of what cannot be called
  std::array<Embedded, 2> embedded_;             // before and now
  // By what a retriever is made of, made when first asked.
  std::map<std::array<bool, 3>, std::unique_ptr<workers::retrieval::HybridRetriever>> retrievers_;
};

struct JudgedQuestion {
  PairKind kind = PairKind::commit;
  std::uint32_t words = 0;  // with spaces between
  // For each of the parts the place, from 1, of the first right answer; 0: not among the hits.
  std::vector<std::uint32_t> ranks;

  bool operator==(const JudgedQuestion&) const = default;
};

struct JudgedTree {
  std::string repository;
  std::string commit;
  std::size_t symbols = 0;
  std::vector<JudgedQuestion> questions;  // docs first

  bool operator==(const JudgedTree&) const = default;
};

[[nodiscard]] JudgedTree judge(const Tree& tree, std::span<const Parts> parts,
                               const ExamOptions& options, const EmbeddingModels& models,
                               const std::shared_ptr<engines::RerankClient>& decisions);

}  // namespace velmora::train
