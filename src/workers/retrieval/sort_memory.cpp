#include "workers/retrieval/sort_memory.h"

#include <string>

namespace velmora::workers::retrieval::internal {
namespace {

// A row of the sort: its links, the rank, the rowid, and for each phrase the length and the columns
// of its hits, of which these tables have four at most.
constexpr std::size_t ROW_BYTES = 64;
constexpr std::size_t PHRASE_BYTES = 8;

}  // namespace

SortMemory::SortMemory(storage::Database& database, std::size_t block)
    : database_(database), block_(block) {
  database_.execute("PRAGMA temp_store = MEMORY");
  database_.execute("PRAGMA cache_size = -" + std::to_string(block / 1024));
}

void SortMemory::choose(std::size_t rows, std::size_t phrases) {
  const bool fits = rows <= block_ / (ROW_BYTES + PHRASE_BYTES * phrases);
  if (fits == in_block_) return;
  database_.execute(fits ? "PRAGMA temp_store = FILE" : "PRAGMA temp_store = MEMORY");
  in_block_ = fits;
}

}  // namespace velmora::workers::retrieval::internal
