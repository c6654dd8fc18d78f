#include "workers/retrieval/exact_channel.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

#include "utils/interner.h"
#include "utils/unicode.h"

namespace velmora::workers::retrieval::internal {
namespace {

// The shortest looked-up word that stands for the names it starts.
constexpr std::size_t MIN_PREFIX = 3;

// The first `depth` distinct ones of the admitted ids that are added.
class FirstIds {
 public:
  FirstIds(const Admission& admit, std::int64_t depth)
      : admit_(admit), depth_(static_cast<std::size_t>(depth)) {}

  // Returns how many of `ids` are admitted.
  std::int64_t add(std::span<const SymbolId> ids) {
    std::int64_t admitted = 0;
    for (const SymbolId id : ids) {
      if (!admit_(id)) continue;
      ++admitted;
      if (!is_full() && seen_.insert(id).second) ids_.push_back(id);
    }
    return admitted;
  }

  [[nodiscard]] bool is_full() const { return ids_.size() == depth_; }

  // Gives them away.
  std::vector<SymbolId> take() { return std::move(ids_); }

 private:
  const Admission& admit_;
  const std::size_t depth_;
  std::vector<SymbolId> ids_;
  std::unordered_set<SymbolId> seen_;
};

// Adds the symbols of the names that start with `word`, shortest name first, names of one length in
// their own order, until `most` came. Returns how many came.
std::int64_t add_prefixed(FirstIds& out, const Corpus& corpus, std::string_view word,
                          std::int64_t most) {
  std::vector<std::pair<std::size_t, const CorpusName*>> names;
  for (const CorpusName& name : corpus.names_starting_with(word)) {
    names.emplace_back(utils::character_count(name.name), &name);
  }
  std::sort(names.begin(), names.end());
  std::int64_t came = 0;
  for (const auto& [length, name] : names) {
    came += out.add(name->symbols);
    if (came >= most) break;
  }
  return came;
}

}  // namespace

bool ExactNames::is_pinned(SymbolId id) const {
  return std::binary_search(pinned.begin(), pinned.end(), id);
}

ExactNames exact_names(const Corpus& corpus, std::string_view query, const Admission& admit,
                       std::int64_t depth) {
  // A word of the question in any case.
  struct Name {
    std::span<const SymbolId> symbols;
    std::optional<std::int64_t> prefixed;  // once looked up: how many symbols its prefix brought
  };
  const std::vector<std::string> words = query_names(query);
  std::vector<Name> names;
  names.reserve(words.size());
  std::vector<std::uint32_t> name_of;
  name_of.reserve(words.size());
  std::string lowered;
  lowered.reserve(query.size());  // names are ASCII, so that none moves
  utils::Interner numbers;
  FirstIds ids(admit, depth);
  for (const std::string& word : words) {
    name_of.push_back(numbers.add(utils::lowercase(word), [&](std::string_view lower) {
      lowered += lower;
      return std::string_view(lowered).substr(lowered.size() - lower.size());
    }));
    if (name_of.back() < names.size()) continue;
    names.push_back({corpus.named(numbers.text(name_of.back())), std::nullopt});
    ids.add(names.back().symbols);
  }
  std::vector<SymbolId> pinned;
  std::int64_t prefixed = 0;  // repeats count
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words.size() > 1 && !reads_as_code(words[i])) continue;
    Name& name = names[name_of[i]];
    if (!name.prefixed) {
      name.prefixed = 0;
      std::copy_if(name.symbols.begin(), name.symbols.end(), std::back_inserter(pinned), admit);
      if (words[i].size() >= MIN_PREFIX && !ids.is_full()) {
        name.prefixed = add_prefixed(ids, corpus, numbers.text(name_of[i]), depth - prefixed);
      }
    }
    prefixed += *name.prefixed;
  }
  std::sort(pinned.begin(), pinned.end());
  return {ids.take(), std::move(pinned)};
}

}  // namespace velmora::workers::retrieval::internal
