#include "index/read_tree_state.h"

#include <bit>
#include <utility>

namespace velmora::host::index {
namespace {

std::string column(const storage::Statement& statement, int number) {
  return std::string(statement.column_text(number));
}

// What `file_record` reads.
constexpr std::string_view SELECT_FILES =
    "SELECT path, language, expected, size, modified, changed, inode, hash, skipped, is_header"
    " FROM files";

FileRecord file_record(const storage::Statement& row) {
  return {.path = column(row, 0),
          .language = column(row, 1),
          .expected = column(row, 2),
          .is_header = row.column_int64(9) != 0,
          .size = row.column_int64(3),
          .modified = row.column_int64(4),
          .changed = row.column_int64(5),
          .inode = std::bit_cast<std::uint64_t>(row.column_int64(6)),
          .hash = std::bit_cast<std::uint64_t>(row.column_int64(7)),
          .skipped = column(row, 8)};
}

std::map<std::string, FileRecord> read_files(const storage::Database& database) {
  std::map<std::string, FileRecord> files;
  storage::Statement select = database.prepare(std::string(SELECT_FILES) + " ORDER BY path");
  while (select.step()) {
    FileRecord file = file_record(select);
    std::string path = file.path;
    files.emplace_hint(files.end(), std::move(path), std::move(file));
  }
  return files;
}

}  // namespace

std::optional<FileRecord> read_file_record(const storage::Database& database,
                                           std::string_view path) {
  storage::Statement select = database.prepare(std::string(SELECT_FILES) + " WHERE path = ?");
  select.bind(1, path);
  return select.step() ? std::optional(file_record(select)) : std::nullopt;
}

TreeState read_tree_state(const storage::Database& database) {
  TreeState state{.files = read_files(database)};
  storage::Statement meta = database.prepare("SELECT extraction, largest_file FROM meta");
  if (meta.step()) {
    state.extraction = column(meta, 0);
    state.largest_file = static_cast<std::uintmax_t>(meta.column_int64(1));
  }
  storage::Statement model = database.prepare("SELECT name FROM models WHERE kind = 'int8'");
  if (model.step()) state.own_model = column(model, 0);
  return state;
}

}  // namespace velmora::host::index
