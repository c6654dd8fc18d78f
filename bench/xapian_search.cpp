#include "xapian_search.h"

#include <vector>

#include "velmora/workers/retrieval.h"
#include "word_tables.h"
#include "workers/retrieval/bm25.h"

namespace velmora::bench {

using workers::retrieval::internal::Documents;
using workers::retrieval::internal::SymbolDocument;
using workers::retrieval::internal::WordId;
using workers::retrieval::internal::Words;

XapianSearch::XapianSearch(const Documents& documents)
    : stem_("porter"), database_("", Xapian::DB_BACKEND_INMEMORY) {
  std::vector<std::string> stems;
  for (WordId word = 0; word < documents.vocabulary->size(); ++word) {
    stems.push_back(stem_(std::string(documents.vocabulary->word(word))));
  }
  const workers::retrieval::LexicalWeights weights;
  for (const SymbolDocument& symbol : documents.symbols) {
    Xapian::Document document;
    const auto add = [&](Words field, double weight) {
      for (const WordId word : field) {
        document.add_term(stems[word], static_cast<Xapian::termcount>(weight));
      }
    };
    add(symbol.name(), weights.name);
    add(symbol.signature(), weights.signature);
    add(symbol.path(), weights.path);
    add(symbol.docstring(), weights.docstring);
    database_.add_document(document);
  }
  database_.commit();
}

std::size_t XapianSearch::ask(std::span<const std::string> terms) {
  using workers::retrieval::internal::BM25_B;
  using workers::retrieval::internal::BM25_K1;
  std::vector<std::string> stems;
  for (const std::string& term : terms) stems.push_back(stem_(term));
  Xapian::Enquire enquire(database_);
  enquire.set_weighting_scheme(Xapian::BM25Weight(BM25_K1, 0, 1, BM25_B, 0));
  enquire.set_query(Xapian::Query(Xapian::Query::OP_OR, stems.begin(), stems.end()));
  std::size_t rows = 0;
  const Xapian::MSet best = enquire.get_mset(0, FIRST_ROWS);
  for (auto row = best.begin(); row != best.end(); ++row) rows += *row != 0;
  return rows;
}

}  // namespace velmora::bench
