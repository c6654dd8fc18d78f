// What a question costs as the program asks it: read as a sentence, ranked by its own settings, and
// the first hits reordered by its decision model; beside the library's fused ranking alone of the
// same question; limit 10 and no embeddings
// but those that the decision model makes. On the real corpus the words of bodies, which came with
// these, are searched by the first and not by the second.
#include "rerank.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "browse/sentence.h"
#include "index/catalog.h"
#include "measure.h"
#include "settings/settings.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/index/index.h"
#include "velmora/models/symbol.h"
#include "velmora/workers/retrieval.h"

namespace velmora::bench {
namespace {

using workers::retrieval::HybridRetriever;
using workers::retrieval::RetrieverOptions;

// The rows with their docstrings alone.
std::shared_ptr<const Rows> without_bodies(const Subject& on) {
  auto rows = std::make_shared<Rows>(*on.rows);
  std::vector<models::SymbolId> ids;
  for (const Row& row : *rows) ids.push_back(row.id);
  const auto stored = on.repository->get_symbols_by_ids(ids);
  for (Row& row : *rows) row.docstring = stored.at(row.id).docstring;
  return rows;
}

// Tells of a name whether something that cannot be called has it, as the program finds out.
std::function<bool(std::string_view)> thing_finder(const Subject& on) {
  if (const auto index = std::dynamic_pointer_cast<host::index::Index>(on.repository)) {
    return [index](std::string_view name) {
      bool found = false;
      index->read([&](const host::index::Catalog& catalog) { found = catalog.has_thing(name); });
      return found;
    };
  }
  std::unordered_set<std::string_view> things;
  for (const Row& row : *on.rows) {
    if (!models::CALLABLE_KINDS.contains(row.kind)) things.insert(row.name);
  }
  return [things = std::move(things)](std::string_view name) { return things.contains(name); };
}

// The question as the beginning of a sentence.
std::string as_sentence(std::string text) {
  if (text.front() >= 'a' && text.front() <= 'z') {
    text.front() = static_cast<char>(text.front() - 'a' + 'A');
  }
  return text;
}

}  // namespace

void rerank(benchmark::State& state, const Rerank& of) {
  const Subject& on = subject(of.on);
  HybridRetriever plain(std::make_shared<RowsRepository>(without_bodies(on)));
  HybridRetriever full(
      on.repository,
      RetrieverOptions{
          .settings = host::settings::standard_retrieval_settings(),
          .decisions = std::make_shared<host::decision::BuiltinDecision>(
              of.decision, std::make_shared<host::embedding::BuiltinEngine>(of.model))});
  const auto is_thing = thing_finder(on);

  Sample fused, reranked, sentence;
  bool fused_first = true;
  const auto ask = [&](const std::string& question) {
    const std::string asked = as_sentence(question);
    std::string read;
    sentence.add(milliseconds([&] { read = host::browse::read_as_sentence(asked, is_thing); }));
    const auto add_fused = [&] {
      fused.add(milliseconds([&] { benchmark::DoNotOptimize(plain.retrieve(read)); }));
    };
    // Whoever comes first finds the caches full of others' data.
    if (fused_first) add_fused();
    reranked.add(milliseconds([&] {
      benchmark::DoNotOptimize(
          full.retrieve(host::browse::read_as_sentence(asked, is_thing), {.rerank = true}));
    }));
    if (!fused_first) add_fused();
    fused_first = !fused_first;
  };
  for (const Question& question : on.questions) {
    ask(question.text);
    const auto answer = full.retrieve(question.text, {.rerank = true});
    if (answer.note && answer.note->find("rerank") != std::string::npos) {
      return state.SkipWithError(answer.note->c_str());
    }
  }
  fused = reranked = sentence = {};
  const int rounds = on.rows->size() > 20'000 ? 2 : 5;
  for (auto _ : state) {
    for (int round = 0; round < rounds; ++round) {
      for (const Question& question : on.questions) ask(question.text);
    }
  }
  fused.report(state, "fused");
  reranked.report(state, "reranked");
  sentence.report(state, "sentence");
}

}  // namespace velmora::bench
