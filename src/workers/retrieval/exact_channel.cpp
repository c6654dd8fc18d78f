#include "workers/retrieval/exact_channel.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_set>

#include "utils/unicode.h"

namespace velmora::workers::retrieval::internal {
namespace {

// The shortest looked-up word that stands for the names it starts.
constexpr std::size_t MIN_PREFIX = 3;

// Appends the admitted ones of `ids`.
void append_admitted(std::vector<SymbolId>& out, std::span<const SymbolId> ids,
                     const Admission& admit) {
  std::copy_if(ids.begin(), ids.end(), std::back_inserter(out), admit);
}

// Appends the symbols of the names that start with `word`, shortest name first, names of one length
// in their own order, until `out` holds `depth`.
void append_prefixed(std::vector<SymbolId>& out, const Corpus& corpus, std::string_view word,
                     const Admission& admit, std::int64_t depth) {
  struct Length {
    std::size_t characters;
    const CorpusName* name;
  };
  std::vector<Length> names;
  for (const CorpusName& name : corpus.names_starting_with(word)) {
    names.push_back({utils::character_count(name.name), &name});
  }
  std::stable_sort(names.begin(), names.end(), [](const Length& left, const Length& right) {
    return left.characters < right.characters;
  });
  for (const Length& each : names) {
    append_admitted(out, each.name->symbols, admit);
    if (static_cast<std::int64_t>(out.size()) >= depth) return;
  }
}

// The first `depth` distinct ids.
std::vector<SymbolId> first_distinct(const std::vector<SymbolId>& ids, std::int64_t depth) {
  std::vector<SymbolId> distinct;
  std::unordered_set<SymbolId> seen;
  for (const SymbolId id : ids) {
    if (static_cast<std::int64_t>(distinct.size()) == depth) break;
    if (seen.insert(id).second) distinct.push_back(id);
  }
  return distinct;
}

}  // namespace

bool ExactNames::is_pinned(SymbolId id) const {
  return std::binary_search(pinned.begin(), pinned.end(), id);
}

ExactNames exact_names(const Corpus& corpus, std::string_view query, const Admission& admit,
                       std::int64_t depth) {
  const std::vector<std::string> words = query_names(query);
  std::vector<SymbolId> named;
  std::vector<SymbolId> prefixed;
  std::vector<SymbolId> pinned;
  for (const std::string& word : words) {
    const std::string lower = utils::lowercase(word);
    const std::size_t before = named.size();
    append_admitted(named, corpus.named(lower), admit);
    if (words.size() > 1 && !reads_as_code(word)) continue;
    pinned.insert(pinned.end(), named.begin() + static_cast<std::ptrdiff_t>(before), named.end());
    if (word.size() >= MIN_PREFIX) append_prefixed(prefixed, corpus, lower, admit, depth);
  }
  named.insert(named.end(), prefixed.begin(), prefixed.end());
  std::sort(pinned.begin(), pinned.end());
  pinned.erase(std::unique(pinned.begin(), pinned.end()), pinned.end());
  return {first_distinct(named, depth), std::move(pinned)};
}

}  // namespace velmora::workers::retrieval::internal
