#include "index/row_reader.h"

#include <bit>
#include <cstddef>
#include <functional>

#include "index/counterparts.h"

namespace velmora::host::index {
namespace {

constexpr std::size_t PLACES_A_NAME = 16;  // one of 16 other names is looked up for nothing

std::string documented() {
  return " FROM symbols INDEXED BY documented_by_fqn WHERE " + documented_sql();
}

// The documented symbols of a name, unless there are more than one too many.
std::string select_counterparts() {
  return "SELECT o.language, o.kind, f.path, o.signature, o.docstring FROM (SELECT *" +
         documented() + " AND fqn = ?1 LIMIT " + std::to_string(RowReader::MOST_COUNTERPARTS + 1) +
         ") AS o CROSS JOIN files AS f ON f.id = o.file";
}

std::size_t hash(std::string_view name) { return std::hash<std::string_view>{}(name); }

}  // namespace

std::string select_symbol_rows_with(std::string_view columns) {
  std::string sql(SELECT_SYMBOL_ROWS);
  return sql.insert(sql.find(" FROM "), ", " + std::string(columns));
}

RowReader::RowReader(const storage::Database& database, Use use)
    : database_(database),
      use_(use),
      select_path_(
          database.prepare("SELECT path FROM files WHERE id = ?", SQLITE_PREPARE_PERSISTENT)),
      counterparts_(database.prepare(select_counterparts(), SQLITE_PREPARE_PERSISTENT)) {}

std::string_view RowReader::path_of(std::int64_t file) {
  if (use_ == Use::few || file != file_ || path_.empty()) {
    select_path_.bind(1, file);
    if (!select_path_.step()) {
      throw storage::DatabaseError(SQLITE_CORRUPT, "a symbol stands in no file");
    }
    path_ = select_path_.column_text(0);
    select_path_.reset();
    file_ = file;
  }
  return path_;
}

void RowReader::learn_names() {
  storage::Statement select = database_.prepare("SELECT fqn" + documented());
  std::vector<std::size_t> hashes;
  while (select.step()) hashes.push_back(hash(select.column_text(0)));
  documented_.resize(std::bit_ceil(PLACES_A_NAME * hashes.size() + 1));
  for (const std::size_t name : hashes) documented_[name & (documented_.size() - 1)] = true;
}

bool RowReader::may_be_documented(std::string_view fqn) {
  if (use_ == Use::few) return true;
  if (documented_.empty()) learn_names();
  return documented_[hash(fqn) & (documented_.size() - 1)];
}

storage::SymbolRow RowReader::read(const storage::Statement& select) {
  storage::SymbolRow row{.id = select.column_int64(0),
                         .fqn = select.column_text(1),
                         .name = select.column_text(2),
                         .kind = select.column_text(ROW_KIND),
                         .path = path_of(select.column_int64(4)),
                         .start_line = select.column_int64(5),
                         .end_line = select.column_int64(6),
                         .signature = select.column_optional_text(7),
                         .docstring = select.column_optional_text(8)};
  const std::string_view language = select.column_text(ROW_LANGUAGE);
  if (!row.docstring && may_have_parts(language, row.kind) && may_be_documented(row.fqn) &&
      find_docstring(row, language)) {
    row.docstring = docstring_;
  }
  return row;
}

bool RowReader::find_docstring(const storage::SymbolRow& row, std::string_view language) {
  const Part part{language, row.kind, row.path, row.signature.value_or("")};
  std::string first;  // path of a counterpart
  int count = 0;
  counterparts_.bind(1, row.fqn);
  while (counterparts_.step()) {  // by id
    ++count;
    const Part other{counterparts_.column_text(0), counterparts_.column_text(1),
                     counterparts_.column_text(2), counterparts_.column_text(3)};
    if ((!first.empty() && first <= other.path) || !are_parts(part, other)) continue;
    first = other.path;
    docstring_ = counterparts_.column_text(4);
  }
  counterparts_.reset();
  return !first.empty() && count <= MOST_COUNTERPARTS;
}

}  // namespace velmora::host::index
