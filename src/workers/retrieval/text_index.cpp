#include "workers/retrieval/text_index.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "workers/retrieval/bm25.h"
#include "workers/retrieval/dictionary.h"
#include "workers/retrieval/posting_lists.h"
#include "workers/retrieval/text_tables.h"

namespace velmora::workers::retrieval::internal {
namespace {

// The tables themselves, one query at a time.
class TableIndex final : public TextIndex {
 public:
  explicit TableIndex(std::unique_ptr<TextTables> tables) : tables_(std::move(tables)) {}

  Search search(std::span<const std::string> terms) const override {
    const std::lock_guard guard(lock_);
    return [this, expression = tables_->any_of(terms)](TextTable table, std::size_t count,
                                                       const Accept& accept) {
      const std::lock_guard asking(lock_);
      return tables_->best(table, expression, count, accept);
    };
  }

 private:
  const std::unique_ptr<TextTables> tables_;
  mutable std::mutex lock_;
};

// Posting lists. The tables hold a single row, for their tokenizer.
class PostingIndex final : public TextIndex {
 public:
  PostingIndex(std::unique_ptr<TextTables> tables, Dictionary dictionary, PostingLists symbols,
               PostingLists files)
      : tables_(std::move(tables)),
        dictionary_(std::move(dictionary)),
        symbols_(std::move(symbols)),
        files_(std::move(files)) {}

  Search search(std::span<const std::string> terms) const override {
    return [this, known = known_terms(terms)](TextTable table, std::size_t count,
                                              const Accept& accept) {
      const PostingLists& lists = table == TextTable::symbols ? symbols_ : files_;
      std::vector<RowId> rows;
      for (const ScoredRow& row : best_rows(lists, known, count, accept)) rows.push_back(row.row);
      return rows;
    };
  }

 private:
  // The terms that some row holds. Only a word that no row holds needs the tokenizer, since another
  // word of its stem may be there; and only for that the threads take turns.
  [[nodiscard]] std::vector<TermId> known_terms(std::span<const std::string> words) const {
    std::vector<TermId> terms(words.size());
    std::transform(words.begin(), words.end(), terms.begin(),
                   [&](const std::string& word) { return dictionary_.find_word(word); });
    if (std::find(terms.begin(), terms.end(), Dictionary::UNKNOWN) == terms.end()) return terms;
    const std::lock_guard guard(lock_);
    bool phrase = false;
    tables_->tokenizer().run([&](const TableTokenizer::Tokenize& tokenize) {
      for (std::size_t i = 0; i < words.size(); ++i) {
        if (terms[i] != Dictionary::UNKNOWN) continue;
        const Tokens tokens = tokenize(words[i]);
        if (tokens.count == 1) terms[i] = dictionary_.find_token(tokens.first);
        phrase |= tokens.count > 1;
      }
    });
    // The tables refuse it, and say why.
    if (phrase)
      (void)tables_->best(TextTable::symbols, tables_->any_of(words), 1,
                          [](RowId) { return true; });
    std::erase(terms, Dictionary::UNKNOWN);
    return terms;
  }

  const std::unique_ptr<TextTables> tables_;
  mutable std::mutex lock_;  // guards tables_
  const Dictionary dictionary_;
  const PostingLists symbols_;
  const PostingLists files_;
};

// Lets the tables throw their error for an id that is there twice.
void require_unique(TextTables& tables, const Documents& documents, const PostingLists& symbols) {
  const auto twice = std::adjacent_find(symbols.rows().begin(), symbols.rows().end());
  if (twice == symbols.rows().end()) return;
  for (const SymbolDocument& symbol : documents.symbols) {
    if (symbol.id == *twice) tables.add(symbol, *documents.vocabulary);
  }
}

}  // namespace

std::unique_ptr<const TextIndex> text_index(const RetrievalSettings& settings,
                                            const Documents& documents, bool tables_only) {
  std::unique_ptr<TextTables> tables = TextTables::make(settings.tokenizer);
  if (!tables) return nullptr;
  storage::Transaction filling(tables->database());
  tables->set_ranks(settings);
  std::span<const SymbolDocument> symbols = documents.symbols;
  if (!tables_only && !symbols.empty()) {
    tables->add(symbols.front(), *documents.vocabulary);
    symbols = symbols.subspan(1);
    if (auto dictionary = Dictionary::make(tables->tokenizer(), documents.vocabulary)) {
      PostingLists of_symbols = PostingLists::of_symbols(
          documents, *dictionary, tables->weights_of(settings.weights.rank_function()));
      require_unique(*tables, documents, of_symbols);
      PostingLists of_files = PostingLists::of_files(
          documents, *dictionary, tables->weights_of(settings.file_weights.rank_function()));
      filling.commit();
      return std::make_unique<PostingIndex>(std::move(tables), *std::move(dictionary),
                                            std::move(of_symbols), std::move(of_files));
    }
  }
  for (const SymbolDocument& symbol : symbols) tables->add(symbol, *documents.vocabulary);
  tables->add_files(documents);
  filling.commit();
  return std::make_unique<TableIndex>(std::move(tables));
}

}  // namespace velmora::workers::retrieval::internal
