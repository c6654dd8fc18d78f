#include "index/read_tree_state.h"

#include <bit>
#include <utility>

namespace velmora::host::index {
namespace {

std::string column(const storage::Statement& statement, int number) {
  return std::string(statement.column_text(number));
}

std::map<std::string, FileRecord> read_files(storage::Database& database) {
  std::map<std::string, FileRecord> files;
  storage::Statement select = database.prepare(
      "SELECT path, language, expected, size, modified, changed, inode, hash, skipped FROM files"
      " ORDER BY path");
  while (select.step()) {
    FileRecord file{.path = column(select, 0),
                    .language = column(select, 1),
                    .expected = column(select, 2),
                    .size = select.column_int64(3),
                    .modified = select.column_int64(4),
                    .changed = select.column_int64(5),
                    .inode = std::bit_cast<std::uint64_t>(select.column_int64(6)),
                    .hash = std::bit_cast<std::uint64_t>(select.column_int64(7)),
                    .skipped = column(select, 8)};
    std::string path = file.path;
    files.emplace_hint(files.end(), std::move(path), std::move(file));
  }
  return files;
}

}  // namespace

TreeState read_tree_state(storage::Database& database) {
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
