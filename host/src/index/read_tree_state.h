// Reads what an index knows of its files.
#pragma once

#include "velmora/host/index/tree_state.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// As the transaction sees it that the caller is in.
[[nodiscard]] TreeState read_tree_state(storage::Database& database);

}  // namespace velmora::host::index
