#include "workers/retrieval/corpus.h"

#include <algorithm>
#include <stdexcept>

namespace velmora::workers::retrieval::internal {
namespace {

// Spreads ids, which are often consecutive, over the slots (Fibonacci hashing).
std::size_t hash(SymbolId id) {
  const std::uint64_t product = static_cast<std::uint64_t>(id) * 0x9E3779B97F4A7C15u;
  return static_cast<std::size_t>(product ^ (product >> 32));
}

constexpr auto by_text = [](const CorpusName& name, std::string_view text) {
  return name.name < text;
};

}  // namespace

IdIndex::IdIndex(std::span<const CorpusSymbol> symbols) {
  std::size_t size = 16;
  while (size < 2 * symbols.size()) size *= 2;
  slots_.resize(size);
  for (std::size_t place = 0; place < symbols.size(); ++place) {
    slots_[slot_of(symbols, symbols[place].id)] = static_cast<std::uint32_t>(place + 1);
  }
}

std::size_t IdIndex::slot_of(std::span<const CorpusSymbol> symbols, SymbolId id) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hash(id) & mask;
  while (slots_[slot] != 0 && symbols[slots_[slot] - 1].id != id) slot = (slot + 1) & mask;
  return slot;
}

std::optional<std::size_t> IdIndex::find(std::span<const CorpusSymbol> symbols, SymbolId id) const {
  if (slots_.empty()) return std::nullopt;
  const std::uint32_t place = slots_[slot_of(symbols, id)];
  if (place == 0) return std::nullopt;
  return place - std::size_t{1};
}

const CorpusSymbol* Corpus::find(SymbolId id) const {
  const std::optional<std::size_t> place = by_id.find(symbols, id);
  return place ? &symbols[*place] : nullptr;
}

RetrievedSymbol Corpus::symbol(SymbolId id) const {
  const CorpusSymbol* found = find(id);
  if (found == nullptr) throw std::out_of_range("the corpus has no such symbol");
  return {.id = found->id,
          .fqn = std::string(found->fqn),
          .name = std::string(found->name),
          .kind = std::string(RETRIEVABLE_KINDS.words()[found->kind]),
          .path = std::string(files[found->file].path),
          .start_line = found->start_line,
          .end_line = found->end_line,
          .signature = std::optional<std::string>(found->signature)};
}

std::span<const SymbolId> Corpus::named(std::string_view name) const {
  const auto found = std::lower_bound(names.begin(), names.end(), name, by_text);
  if (found == names.end() || found->name != name) return {};
  return found->symbols;
}

std::span<const CorpusName> Corpus::names_starting_with(std::string_view prefix) const {
  auto first = std::lower_bound(names.begin(), names.end(), prefix, by_text);
  if (first != names.end() && first->name == prefix) ++first;
  const auto last = std::partition_point(
      first, names.end(), [&](const CorpusName& name) { return name.name.starts_with(prefix); });
  return {first, last};
}

}  // namespace velmora::workers::retrieval::internal
