// Rows for full-text tables.
#pragma once

#include <utility>
#include <vector>

#include "workers/retrieval/text_tables.h"

namespace velmora::testing {

// Yields the given rows.
inline workers::retrieval::internal::FileTexts file_texts(
    std::vector<workers::retrieval::internal::FileText> rows) {
  return
      [rows = std::move(rows),
       next = std::size_t{0}]() mutable -> std::optional<workers::retrieval::internal::FileText> {
        if (next == rows.size()) return std::nullopt;
        return rows[next++];
      };
}

}  // namespace velmora::testing
