// velmora_ask and what reads its answer.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "browse/question.h"
#include "c_interface/arguments.h"
#include "c_interface/handles.h"
#include "c_interface/message.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::c_interface {
namespace {

using workers::retrieval::CHANNELS;
using workers::retrieval::Hit;
using workers::retrieval::RetrieveOptions;

static_assert(CHANNELS[VELMORA_EXACT] == workers::retrieval::EXACT &&
              CHANNELS[VELMORA_LEXICAL] == workers::retrieval::LEXICAL &&
              CHANNELS[VELMORA_FILE] == workers::retrieval::FILE &&
              CHANNELS[VELMORA_SEMANTIC] == workers::retrieval::SEMANTIC);

std::optional<bool> include_tests(int32_t tests) {
  switch (tests) {
    case VELMORA_TESTS_BY_QUESTION:
      return std::nullopt;
    case VELMORA_TESTS_INCLUDED:
      return true;
    case VELMORA_TESTS_EXCLUDED:
      return false;
    default:
      throw std::invalid_argument("The argument options->tests is none of VELMORA_TESTS_...");
  }
}

RetrieveOptions retrieve_options(const velmora_ask_options& options, bool reranks) {
  if (options.limit < 0) throw std::invalid_argument("The argument options->limit is negative");
  RetrieveOptions retrieve{.scope = optional_text(options.scope, "options->scope"),
                           .include_tests = include_tests(options.tests),
                           .rerank = reranks && !options.without_rerank};
  if (options.limit > 0) retrieve.limit = options.limit;
  return retrieve;
}

velmora_answer* ask(velmora_retriever& retriever, std::string_view query,
                    const velmora_ask_options& options) {
  const RetrieveOptions retrieve = retrieve_options(options, retriever.reranks);
  std::string read(query);
  if (retriever.index && !options.verbatim) read = browse::read_question(query, *retriever.index);
  return new velmora_answer{retriever.retriever.retrieve(read, retrieve)};
}

int64_t rank_of(const Hit& hit, std::string_view channel) {
  const std::int64_t* const rank = hit.ranks.find(channel);
  return rank == nullptr ? 0 : *rank;
}

velmora_hit hit_for_c(const Hit& hit) {
  const workers::retrieval::RetrievedSymbol& symbol = hit.symbol;
  velmora_hit found = VELMORA_INIT(velmora_hit);
  found.id = symbol.id;
  found.fqn = string_of(symbol.fqn);
  found.name = string_of(symbol.name);
  found.kind = string_of(symbol.kind);
  found.path = string_of(symbol.path);
  found.start_line = symbol.start_line;
  found.end_line = symbol.end_line;
  if (symbol.signature) found.signature = string_of(*symbol.signature);
  found.score = hit.score;
  found.exact_rank = rank_of(hit, workers::retrieval::EXACT);
  found.lexical_rank = rank_of(hit, workers::retrieval::LEXICAL);
  found.file_rank = rank_of(hit, workers::retrieval::FILE);
  found.semantic_rank = rank_of(hit, workers::retrieval::SEMANTIC);
  return found;
}

}  // namespace
}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;
namespace retrieval = velmora::workers::retrieval;

velmora_code velmora_ask(velmora_retriever* retriever, velmora_string query,
                         const velmora_ask_options* options, velmora_answer** answer) noexcept {
  return c_interface::guarded([&] {
    c_interface::required(answer, "answer") = nullptr;
    c_interface::require(retriever != nullptr, "retriever");
    *answer = c_interface::ask(*retriever, c_interface::required_text(query, "query"),
                               c_interface::taken(options, "options"));
  });
}

size_t velmora_answer_size(const velmora_answer* answer) noexcept {
  return answer == nullptr ? 0 : answer->result.hits.size();
}

velmora_code velmora_answer_hit(const velmora_answer* answer, size_t position,
                                velmora_hit* hit) noexcept {
  return c_interface::guarded([&] {
    c_interface::require(answer != nullptr, "answer");
    if (position >= answer->result.hits.size()) {
      throw std::invalid_argument("The argument position is " + std::to_string(position) +
                                  ", and the answer has " +
                                  std::to_string(answer->result.hits.size()) + " hits");
    }
    c_interface::hand_out(c_interface::hit_for_c(answer->result.hits[position]), hit, "hit");
  });
}

velmora_string velmora_answer_channel(const velmora_answer* answer, int32_t channel) noexcept {
  if (answer == nullptr || channel < VELMORA_EXACT || channel > VELMORA_SEMANTIC) return {};
  const std::string_view* const status =
      answer->result.channels.find(retrieval::CHANNELS[static_cast<std::size_t>(channel)]);
  return status == nullptr ? velmora_string{} : c_interface::string_of(*status);
}

velmora_string velmora_answer_note(const velmora_answer* answer) noexcept {
  if (answer == nullptr || !answer->result.note) return {};
  return c_interface::string_of(*answer->result.note);
}

void velmora_answer_free(velmora_answer* answer) noexcept { delete answer; }
