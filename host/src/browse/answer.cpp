#include "browse/answer.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <utility>

#include "browse/near_names.h"
#include "browse/question.h"
#include "text/layout.h"

namespace velmora::host::browse {
namespace {

using workers::retrieval::Hit;
using workers::retrieval::RetrievalResult;
using workers::retrieval::RetrieveOptions;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool same_but_for_case(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return lower(a) == lower(b); });
}

// The words of a question that put the symbols that they name above the fused ranking.
class Pins {
 public:
  // Whether a word does so is decided by the question as it was `read`; it is told as it was
  // `asked`.
  Pins(std::string_view asked, std::string_view read)
      : asked_(workers::retrieval::query_names(asked)),
        read_(workers::retrieval::query_names(read)) {}

  // The word that put the hit there, if one did.
  [[nodiscard]] std::optional<std::string> of(const Hit& hit) const {
    for (const std::string& word : read_) {
      const bool pins = read_.size() == 1 || workers::retrieval::reads_as_code(word);
      if (pins && same_but_for_case(word, hit.symbol.name)) return as_asked(word);
    }
    return std::nullopt;
  }

 private:
  [[nodiscard]] std::string as_asked(const std::string& word) const {
    if (std::find(asked_.begin(), asked_.end(), word) != asked_.end()) return word;
    const auto same = std::find_if(asked_.begin(), asked_.end(), [&](const std::string& other) {
      return same_but_for_case(word, other);
    });
    return same == asked_.end() ? word : *same;
  }

  std::vector<std::string> asked_;
  std::vector<std::string> read_;
};

// The one name that the question consists of, without what it is qualified by; empty when it is
// something else.
std::string_view only_name(std::string_view question) {
  constexpr std::string_view SPACES = " \t\r\n";
  question.remove_prefix(std::min(question.find_first_not_of(SPACES), question.size()));
  question = question.substr(0, question.find_last_not_of(SPACES) + 1);
  if (question.find_first_of(" \t\r\n/") != std::string_view::npos) return {};
  return question.substr(question.find_last_of(".:") + 1);
}

bool found_by(const std::vector<AnsweredHit>& hits, std::string_view channel) {
  return std::any_of(hits.begin(), hits.end(), [&](const AnsweredHit& answered) {
    return answered.hit.ranks.contains(channel);
  });
}

}  // namespace

std::string_view channel_word(std::string_view channel) {
  if (channel == workers::retrieval::EXACT) return "name";
  if (channel == workers::retrieval::LEXICAL) return "text";
  if (channel == workers::retrieval::SEMANTIC) return "meaning";
  return channel;
}

std::vector<std::string> remarks(const Answer& answer) {
  std::vector<std::string> sentences;
  if (answer.guesses) {
    sentences.emplace_back("Nothing matches by name or text; these are guesses by meaning.");
  }
  if (answer.hits.empty()) {
    sentences.emplace_back("No symbol of the index answers this question.");
  }
  if (!answer.did_you_mean.empty()) sentences.push_back(did_you_mean(answer.did_you_mean));
  return sentences;
}

Answerer::Answerer(std::shared_ptr<index::Index> index,
                   workers::retrieval::HybridRetriever& retriever, std::filesystem::path root,
                   AnswerDetails details, std::vector<decision::JudgedCandidate>* decided)
    : index_(std::move(index)),
      retriever_(retriever),
      root_(std::move(root)),
      details_(details),
      decided_(decided) {}

Answer Answerer::answer(std::string_view question, const RetrieveOptions& options) const {
  const std::string read = read_question(question, *index_);
  if (decided_ != nullptr) decided_->clear();
  RetrievalResult result = retriever_.retrieve(read, options);
  Answer answer{.question = std::string(question),
                .channels = result.channels,
                .note = std::move(result.note)};
  std::vector<models::SymbolId> ids;
  for (const Hit& hit : result.hits) ids.push_back(hit.symbol.id);
  const auto stored = index_->get_symbols_by_ids(ids);
  const Pins pins(question, read);
  for (Hit& hit : result.hits) {
    AnsweredHit answered{.hit = std::move(hit)};
    const auto symbol = stored.find(answered.hit.symbol.id);
    if (symbol != stored.end() && symbol->second.docstring) {
      std::string sentence = text::first_sentence(*symbol->second.docstring);
      if (!sentence.empty()) answered.summary = std::move(sentence);
    }
    answered.pinned_by = pins.of(answered.hit);
    if (details_.source()) answered.source = source(answered.hit.symbol);
    answer.hits.push_back(std::move(answered));
  }
  if (decided_ != nullptr) add_decision(answer);
  if (details_.why && options.rerank) add_places(answer, read, options);

  const bool by_text = found_by(answer.hits, workers::retrieval::LEXICAL) ||
                       found_by(answer.hits, workers::retrieval::FILE);
  const bool by_name = found_by(answer.hits, workers::retrieval::EXACT);
  answer.guesses = !answer.hits.empty() && !by_name && !by_text;
  const std::string_view name = only_name(question);
  // A word of prose that the texts hold is no mistyped name.
  if (!name.empty() && !by_name && (!by_text || workers::retrieval::reads_as_code(name))) {
    answer.did_you_mean = near_names(name, *index_);
  }
  return answer;
}

std::optional<SourceLines> Answerer::source(
    const workers::retrieval::RetrievedSymbol& symbol) const {
  if (root_.empty()) return std::nullopt;
  constexpr std::int64_t MOST = std::numeric_limits<std::int64_t>::max();
  const std::int64_t around = details_.context.value_or(0);
  const std::int64_t end = details_.body ? symbol.end_line : symbol.start_line;
  return read_source(root_, *index_, symbol.path,
                     symbol.start_line > around ? symbol.start_line - around : 1,
                     end > MOST - around ? MOST : end + around);
}

// The hits that the question names are not the decision's, and the others begin with those that it
// put in order.
void Answerer::add_decision(Answer& answer) const {
  auto candidate = decided_->begin();
  for (AnsweredHit& answered : answer.hits) {
    if (answered.pinned_by || candidate == decided_->end()) continue;
    answered.decision = std::move(*candidate++);
  }
}

// The rerank reorders hits among more than are shown, so as many are asked for.
void Answerer::add_places(Answer& answer, std::string_view read, RetrieveOptions options) const {
  options.rerank = false;
  options.limit += static_cast<int>(std::min<std::int64_t>(
      workers::retrieval::RERANK_DEPTH, std::numeric_limits<int>::max() - options.limit));
  const RetrievalResult before = retriever_.retrieve(read, options);
  std::unordered_map<models::SymbolId, std::size_t> places;
  for (const Hit& hit : before.hits) places.emplace(hit.symbol.id, places.size() + 1);
  for (AnsweredHit& answered : answer.hits) {
    const auto place = places.find(answered.hit.symbol.id);
    if (place != places.end()) answered.place_before_rerank = place->second;
  }
}

}  // namespace velmora::host::browse
