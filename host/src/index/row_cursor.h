// The rows that a corpus is built from.
#pragma once

#include <span>
#include <string_view>

#include "index/reader_pool.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::host::index {

// Streams the symbols of some languages and kinds by ascending id. Its open statement is the read
// transaction that keeps all rows of one state.
class RowCursor final : public storage::SymbolCursor {
 public:
  // The languages and kinds live as long as the cursor.
  RowCursor(ReaderPool::Lease reader, std::span<const std::string_view> languages,
            std::span<const std::string_view> kinds);

  const storage::SymbolRow* next() override;

 private:
  ReaderPool::Lease reader_;
  storage::Statement select_;  // gone before its connection is lent again
  storage::SymbolRow row_;
};

}  // namespace velmora::host::index
