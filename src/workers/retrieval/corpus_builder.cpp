// Builds a corpus: one pass over the index's rows, then the groupings by file and by name, then the
// text index.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>

#include "utils/interner.h"
#include "utils/unicode.h"
#include "velmora/utils/language_filter.h"
#include "velmora/utils/path_filter.h"
#include "workers/retrieval/corpus.h"
#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {
namespace {

// Each kind's place in the listing order, by its place in RETRIEVABLE_KINDS: types, then callables
// and modules, then constants, even where a constant counts as callable.
constexpr auto KIND_ORDER = [] {
  std::array<std::uint8_t, RETRIEVABLE_KINDS.size()> order{};
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::string_view kind = RETRIEVABLE_KINDS.words()[i];
    const bool callable = models::CALLABLE_KINDS.contains(kind) || kind == "module";
    order[i] = kind == "constant" ? 2 : callable ? 1 : 0;
  }
  return order;
}();

// Where the members of each group begin in an array sorted by group, with the end as one more
// entry. `group_of(i)` is the group of the i-th of `count` members.
template <class GroupOf>
std::vector<std::uint32_t> group_starts(std::size_t groups, std::size_t count, GroupOf group_of) {
  std::vector<std::uint32_t> starts(groups + 1);
  for (std::size_t i = 0; i < count; ++i) ++starts[group_of(i) + 1];
  std::partial_sum(starts.begin(), starts.end(), starts.begin());
  return starts;
}

// The places 0 to `count` - 1 sorted by group, in their own order within one.
template <class GroupOf>
std::vector<std::uint32_t> sorted_by_group(const std::vector<std::uint32_t>& starts,
                                           std::size_t count, GroupOf group_of) {
  std::vector<std::uint32_t> free = starts;  // the next free place of each group
  std::vector<std::uint32_t> places(count);
  for (std::uint32_t i = 0; i < count; ++i) places[free[group_of(i)]++] = i;
  return places;
}

class CorpusBuilder {
 public:
  explicit CorpusBuilder(const IndexFingerprint& fingerprint) {
    corpus_->fingerprint = fingerprint;
  }

  void read(storage::Repository& repository) {
    const auto rows = repository.retrievable_code_symbols(utils::SOURCE_LANGUAGES.words(),
                                                          RETRIEVABLE_KINDS.words());
    while (const storage::SymbolRow* row = rows->next()) add(*row);
    corpus_->by_id = IdIndex(corpus_->symbols);
  }

  void group_by_file() {
    const auto file_of = [&](std::size_t place) { return corpus_->symbols[place].file; };
    file_starts_ = group_starts(corpus_->files.size(), corpus_->symbols.size(), file_of);
    file_places_ = sorted_by_group(file_starts_, corpus_->symbols.size(), file_of);
    corpus_->file_symbols = ids_at(file_places_);
    for (std::size_t file = 0; file < corpus_->files.size(); ++file) {
      corpus_->files[file].symbols = group(corpus_->file_symbols, file_starts_, file);
    }
  }

  void group_by_name() {
    const auto name_of = [&](std::size_t place) { return symbol_names_[place]; };
    const std::vector<std::uint32_t> starts =
        group_starts(names_.size(), corpus_->symbols.size(), name_of);
    std::vector<std::uint32_t> places = sorted_by_group(starts, corpus_->symbols.size(), name_of);
    const std::vector<std::uint32_t> path_order = order_of_paths();
    for (std::size_t name = 0; name < names_.size(); ++name) {
      std::sort(places.begin() + starts[name], places.begin() + starts[name + 1],
                [&](std::uint32_t left, std::uint32_t right) {
                  return listing_key(left, path_order) < listing_key(right, path_order);
                });
    }
    corpus_->name_symbols = ids_at(places);
    corpus_->names.reserve(names_.size());
    for (const auto& [first_bytes, name] : names_in_order()) {
      corpus_->names.push_back({names_.text(name), group(corpus_->name_symbols, starts, name)});
    }
  }

  void index_text(const RetrievalSettings& settings, bool tables_only) {
    for (std::size_t file = 0; file < files_.size(); ++file) {
      files_[file].symbols = group(file_places_, file_starts_, file);
    }
    corpus_->text = text_index(settings, {vocabulary_, symbols_, files_}, tables_only);
  }

  // Gives the corpus away.
  std::shared_ptr<const Corpus> finish() { return std::move(corpus_); }

  void log_built(std::chrono::steady_clock::duration took) const {
    logger.log(logging::Level::debug, [&] {
      const auto& symbols = corpus_->symbols;
      const auto tests = std::count_if(symbols.begin(), symbols.end(), [&](const CorpusSymbol& s) {
        return corpus_->files[s.file].in_tests;
      });
      std::array<char, 32> milliseconds{};
      std::snprintf(milliseconds.data(), milliseconds.size(), "%.0f",
                    std::chrono::duration<double, std::milli>(took).count());
      return "Retrieval corpus built: " + std::to_string(symbols.size()) + " symbols in " +
             std::to_string(corpus_->files.size()) + " files (" + std::to_string(tests) +
             " symbols in test files) in " + milliseconds.data() + " ms";
    });
  }

 private:
  void add(const storage::SymbolRow& row) {
    if (corpus_->symbols.size() == std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("a corpus holds fewer than 2^32 symbols");
    }
    const std::optional<std::size_t> kind = RETRIEVABLE_KINDS.index(row.kind);
    if (!kind) {
      throw std::out_of_range("symbol " + std::to_string(row.id) + " is of the kind \"" +
                              std::string(row.kind) + "\", which is not retrievable");
    }
    const std::uint32_t file = file_of(row.path);
    const std::string_view fqn = corpus_->texts.store(row.fqn);
    const std::string_view name = row.fqn.ends_with(row.name)
                                      ? fqn.substr(fqn.size() - row.name.size())
                                      : corpus_->texts.store(row.name);
    CorpusSymbol symbol{.id = row.id,
                        .fqn = fqn,
                        .name = name,
                        .signature = std::nullopt,
                        .start_line = row.start_line,
                        .end_line = row.end_line,
                        .file = file,
                        .kind = static_cast<std::uint8_t>(*kind)};
    if (row.signature) symbol.signature = corpus_->texts.store(*row.signature);
    corpus_->symbols.push_back(symbol);
    symbol_names_.push_back(number_of_name(name));
    words_.clear();
    const std::size_t name_words = vocabulary_->append_words(row.name, words_);
    const std::size_t signature_words =
        vocabulary_->append_words(row.signature.value_or(""), words_);
    vocabulary_->append_words(row.docstring.value_or(""), words_);
    symbols_.emplace_back(row.id, kept_words_.store(words_), name_words, signature_words,
                          files_[file].path);
  }

  std::uint32_t file_of(std::string_view path) {
    // Rows of a file mostly follow one another.
    if (!corpus_->symbols.empty()) {
      const std::uint32_t last = corpus_->symbols.back().file;
      if (corpus_->files[last].path == path) return last;
    }
    const std::uint32_t number =
        file_numbers_.add(path, [&](std::string_view text) { return corpus_->texts.store(text); });
    if (number == corpus_->files.size()) {
      corpus_->files.push_back({file_numbers_.text(number), utils::is_test_path(path), {}});
      words_.clear();
      vocabulary_->append_words(path, words_);
      files_.push_back({kept_words_.store(words_), {}});
    }
    return number;
  }

  // Numbers the lower-case names. A name that is in lower case already needs no copy.
  std::uint32_t number_of_name(std::string_view name) {
    const bool lower = std::all_of(name.begin(), name.end(), [](char c) {
      return static_cast<unsigned char>(c) < 0x80 && !is_capital(c);
    });
    if (lower) return names_.add(name);
    return names_.add(utils::lowercase(name),
                      [&](std::string_view text) { return corpus_->texts.store(text); });
  }

  // The names ascending, each by its number, beside its first bytes: by these, compared as one
  // number, most differ.
  [[nodiscard]] std::vector<std::pair<std::uint64_t, std::uint32_t>> names_in_order() const {
    std::vector<std::pair<std::uint64_t, std::uint32_t>> names(names_.size());
    for (std::uint32_t name = 0; name < names.size(); ++name) {
      const std::string_view text = names_.text(name);
      names[name].second = name;
      for (std::size_t i = 0; i < sizeof names[name].first; ++i) {
        names[name].first <<= 8;
        if (i < text.size()) names[name].first |= static_cast<unsigned char>(text[i]);
      }
    }
    std::sort(names.begin(), names.end(), [&](const auto& left, const auto& right) {
      if (left.first != right.first) return left.first < right.first;
      return names_.text(left.second) < names_.text(right.second);
    });
    return names;
  }

  // Each file's place in the ascending order of paths.
  [[nodiscard]] std::vector<std::uint32_t> order_of_paths() const {
    std::vector<std::uint32_t> files(corpus_->files.size());
    std::iota(files.begin(), files.end(), 0u);
    std::sort(files.begin(), files.end(), [&](std::uint32_t left, std::uint32_t right) {
      return corpus_->files[left].path < corpus_->files[right].path;
    });
    std::vector<std::uint32_t> order(files.size());
    for (std::uint32_t i = 0; i < files.size(); ++i) order[files[i]] = i;
    return order;
  }

  [[nodiscard]] std::tuple<std::uint8_t, std::uint32_t, SymbolId> listing_key(
      std::uint32_t place, const std::vector<std::uint32_t>& path_order) const {
    const CorpusSymbol& symbol = corpus_->symbols[place];
    return {KIND_ORDER[symbol.kind], path_order[symbol.file], symbol.id};
  }

  [[nodiscard]] std::vector<SymbolId> ids_at(const std::vector<std::uint32_t>& places) const {
    std::vector<SymbolId> ids(places.size());
    std::transform(places.begin(), places.end(), ids.begin(),
                   [&](std::uint32_t place) { return corpus_->symbols[place].id; });
    return ids;
  }

  template <class Member>
  static std::span<const Member> group(const std::vector<Member>& members,
                                       const std::vector<std::uint32_t>& starts,
                                       std::size_t number) {
    return std::span(members).subspan(starts[number], starts[number + 1] - starts[number]);
  }

  std::shared_ptr<Corpus> corpus_ = std::make_shared<Corpus>();
  std::shared_ptr<Vocabulary> vocabulary_ = std::make_shared<Vocabulary>();
  utils::Arena<WordId> kept_words_;          // what `symbols_` and `files_` point into
  std::vector<WordId> words_;                // reused
  std::vector<SymbolDocument> symbols_;      // beside `Corpus::symbols`
  std::vector<std::uint32_t> symbol_names_;  // beside `Corpus::symbols`: the numbers of their names
  utils::Interner names_;
  std::vector<FileDocument> files_;  // beside `Corpus::files`
  utils::Interner file_numbers_;
  std::vector<std::uint32_t> file_starts_;
  std::vector<std::uint32_t> file_places_;
};

}  // namespace

std::shared_ptr<const Corpus> build_corpus(storage::Repository& repository,
                                           const IndexFingerprint& fingerprint,
                                           const RetrievalSettings& settings,
                                           bool text_tables_only) {
  const auto start = std::chrono::steady_clock::now();
  CorpusBuilder builder(fingerprint);
  builder.read(repository);
  builder.group_by_file();
  builder.group_by_name();
  builder.index_text(settings, text_tables_only);
  builder.log_built(std::chrono::steady_clock::now() - start);
  return builder.finish();
}

}  // namespace velmora::workers::retrieval::internal
