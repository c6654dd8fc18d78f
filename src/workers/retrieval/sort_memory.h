// Where SQLite sorts the matches of a query: always in memory, and fast while they fit.
#pragma once

#include <cstddef>

#include "velmora/storage/sqlite.h"

namespace velmora::workers::retrieval::internal {

// SQLite sorts in two ways. With temporary tables in memory it allocates every row by itself, and
// then merges rows that lie anywhere. With temporary tables in files it collects the rows in one
// block, up to the size of the page cache, and turns to a file for more. The block is about twice
// as fast, so a sort that is sure to fit takes the second way, and any other the first: no sort of
// a connection that asks before each of its queries reaches a file.
class SortMemory {
 public:
  // The largest block that SQLite allows.
  static constexpr std::size_t LARGEST_BLOCK = std::size_t{512} << 20;

  // Readies the connection for sorts of any size. `block` (1 MiB to LARGEST_BLOCK) bounds the block
  // in bytes; a sort takes as much of it as it needs. The database must outlive this.
  explicit SortMemory(storage::Database& database, std::size_t block = LARGEST_BLOCK);

  // Chooses for a query of FTS5 with `phrases` phrases, by rank, that matches `rows` rows at most.
  // No statement of the connection may be running.
  void choose(std::size_t rows, std::size_t phrases);

 private:
  storage::Database& database_;
  std::size_t block_;
  bool in_block_ = false;
};

}  // namespace velmora::workers::retrieval::internal
