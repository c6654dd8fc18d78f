#include "workers/retrieval/exact_channel.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

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

// The symbols of names that start with the words looked up. However many words a question has, each
// name is listed once; how many symbols came is counted as if it were listed anew each time, for
// that is what ends a word's list.
class Prefixed {
 public:
  Prefixed(const Corpus& corpus, const Admission& admit, std::int64_t depth)
      : corpus_(corpus), admit_(admit), depth_(depth) {}

  // Lists those of `word`, shortest name first, names of one length in their own order, until
  // `depth` symbols came for all words. Returns how many came for this one.
  std::int64_t list(std::string_view word) {
    struct Length {
      std::size_t characters;
      const CorpusName* name;
    };
    std::vector<Length> names;
    for (const CorpusName& name : corpus_.names_starting_with(word)) {
      names.push_back({utils::character_count(name.name), &name});
    }
    std::stable_sort(names.begin(), names.end(), [](const Length& left, const Length& right) {
      return left.characters < right.characters;
    });
    const std::int64_t before = count_;
    for (const Length& each : names) {
      const auto [entry, is_new] = listed_.try_emplace(each.name, 0);
      if (is_new) {
        const std::size_t start = ids_.size();
        append_admitted(ids_, each.name->symbols, admit_);
        entry->second = static_cast<std::int64_t>(ids_.size() - start);
      }
      count_ += entry->second;
      if (count_ >= depth_) break;
    }
    return count_ - before;
  }

  // Counts a word that was listed before, with what `list` returned for it. Its names are all
  // there, or those that came before have ended every list.
  void count_again(std::int64_t came) { count_ += came; }

  [[nodiscard]] const std::vector<SymbolId>& ids() const { return ids_; }

 private:
  const Corpus& corpus_;
  const Admission& admit_;
  const std::int64_t depth_;
  std::vector<SymbolId> ids_;
  std::int64_t count_ = 0;
  std::unordered_map<const CorpusName*, std::int64_t> listed_;  // with how many symbols came
};

// A word of the question in any case.
struct Word {
  std::size_t begin = 0;  // its symbols among all that are named
  std::size_t end = 0;
  bool is_looked_up = false;
  std::int64_t prefixed = 0;
};

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
  std::vector<SymbolId> pinned;
  Prefixed prefixed(corpus, admit, depth);
  std::map<std::string, Word> seen;
  for (const std::string& word : words) {
    const auto [entry, is_new] = seen.try_emplace(utils::lowercase(word));
    auto& [lower, found] = *entry;
    if (is_new) {
      found.begin = named.size();
      append_admitted(named, corpus.named(lower), admit);
      found.end = named.size();
    }
    if (words.size() > 1 && !reads_as_code(word)) continue;
    if (std::exchange(found.is_looked_up, true)) {
      prefixed.count_again(found.prefixed);
      continue;
    }
    pinned.insert(pinned.end(), named.begin() + static_cast<std::ptrdiff_t>(found.begin),
                  named.begin() + static_cast<std::ptrdiff_t>(found.end));
    if (word.size() >= MIN_PREFIX) found.prefixed = prefixed.list(lower);
  }
  named.insert(named.end(), prefixed.ids().begin(), prefixed.ids().end());
  std::sort(pinned.begin(), pinned.end());
  pinned.erase(std::unique(pinned.begin(), pinned.end()), pinned.end());
  return {first_distinct(named, depth), std::move(pinned)};
}

}  // namespace velmora::workers::retrieval::internal
