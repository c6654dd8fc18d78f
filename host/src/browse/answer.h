// An answer of the retriever with what people and programs want to know of it besides.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "browse/source.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/index/index.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::browse {

// What is told of each hit.
struct AnswerDetails {
  bool why = false;
  std::optional<std::int64_t> context = {};  // source lines on both sides of the definition
  bool body = false;                         // the whole definition, not its first line alone

  [[nodiscard]] bool source() const { return context || body; }
};

struct AnsweredHit {
  workers::retrieval::Hit hit;
  std::optional<std::string> summary = {};    // the docstring's first sentence
  std::optional<std::string> pinned_by = {};  // the word of the question that put it first
  // Its place, from 1, before the decision model had its say; where that is asked for and known.
  std::optional<std::size_t> place_before_rerank = {};
  // How the program's own decision model told it apart; where that is asked for and it did.
  std::optional<decision::JudgedCandidate> decision = {};
  std::optional<SourceLines> source = {};  // where asked for and readable
};

struct Answer {
  std::string question;
  std::vector<AnsweredHit> hits = {};
  workers::retrieval::ChannelMap<std::string_view> channels = {};
  std::optional<std::string> note = {};
  bool guesses = false;                        // there are hits, and none matches by name or text
  std::vector<std::string> did_you_mean = {};  // names of the index near to one that it lacks
};

// The channel as people know it: "name", "text", "file" or "meaning".
[[nodiscard]] std::string_view channel_word(std::string_view channel);

// What an answer says of itself, a sentence each: that its hits are guesses, that there are none,
// which name may have been meant.
[[nodiscard]] std::vector<std::string> remarks(const Answer& answer);

// Answers questions about one index.
class Answerer {
 public:
  // `root` is where the repository is; empty: nowhere, and no source is read. `retriever` outlives
  // the answerer, and so does `decided`: where the observer of its decision model puts each
  // decision, so that one thread asks at a time. It may be null: then no decision is told.
  Answerer(std::shared_ptr<index::Index> index, workers::retrieval::HybridRetriever& retriever,
           std::filesystem::path root, AnswerDetails details,
           std::vector<decision::JudgedCandidate>* decided = nullptr);

  // The retriever is asked the question as browse/sentence.h reads it; the answer tells it as it
  // was asked. Throws what the retriever and the index throw. To tell what a rerank did, the
  // retriever is asked a second time, without it.
  [[nodiscard]] Answer answer(std::string_view question,
                              const workers::retrieval::RetrieveOptions& options) const;

  [[nodiscard]] const AnswerDetails& details() const { return details_; }

 private:
  [[nodiscard]] std::optional<SourceLines> source(
      const workers::retrieval::RetrievedSymbol& symbol) const;
  // Takes the decision from where its observer put it.
  void add_decision(Answer& answer) const;
  void add_places(Answer& answer, std::string_view read,
                  workers::retrieval::RetrieveOptions options) const;

  const std::shared_ptr<index::Index> index_;
  workers::retrieval::HybridRetriever& retriever_;
  const std::filesystem::path root_;
  const AnswerDetails details_;
  std::vector<decision::JudgedCandidate>* const decided_;
};

}  // namespace velmora::host::browse
