// Reads what an index knows of its files.
#pragma once

#include <optional>
#include <string_view>

#include "velmora/host/index/tree_state.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// As the transaction sees it that the caller is in.
[[nodiscard]] TreeState read_tree_state(const storage::Database& database);

// What is known of the file at `path`.
[[nodiscard]] std::optional<FileRecord> read_file_record(const storage::Database& database,
                                                         std::string_view path);

}  // namespace velmora::host::index
