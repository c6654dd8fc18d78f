#include "index/row_reader.h"

#include "index/counterparts.h"

namespace velmora::host::index {
namespace {

// The documented symbols of a name, and how many.
std::string select_counterparts() {
  const std::string documented = " FROM symbols INDEXED BY parts_by_fqn WHERE fqn = ?1 AND " +
                                 may_have_parts_sql() + " AND docstring IS NOT NULL";
  const std::string limit = std::to_string(RowReader::MOST_COUNTERPARTS);
  return "SELECT o.language, o.kind, f.path, o.signature, o.docstring"
         " FROM (SELECT *" +
         documented + " LIMIT " + limit +
         " + 1) AS o"
         " CROSS JOIN files AS f ON f.id = o.file"
         " ORDER BY f.path, o.id";
}

}  // namespace

RowReader::RowReader(const storage::Database& database)
    : counterparts_(database.prepare(select_counterparts(), SQLITE_PREPARE_PERSISTENT)) {}

storage::SymbolRow RowReader::read(const storage::Statement& select) {
  storage::SymbolRow row{.id = select.column_int64(0),
                         .fqn = select.column_text(1),
                         .name = select.column_text(2),
                         .kind = select.column_text(ROW_KIND),
                         .path = select.column_text(4),
                         .start_line = select.column_int64(5),
                         .end_line = select.column_int64(6),
                         .signature = select.column_optional_text(7),
                         .docstring = select.column_optional_text(8)};
  const std::string_view language = select.column_text(ROW_LANGUAGE);
  if (!row.docstring && may_have_parts(language, row.kind) && find_docstring(row, language)) {
    row.docstring = docstring_;
  }
  return row;
}

bool RowReader::find_docstring(const storage::SymbolRow& row, std::string_view language) {
  const Part part{language, row.kind, row.path, row.signature.value_or("")};
  bool found = false;
  int count = 0;
  counterparts_.bind(1, row.fqn);
  while (counterparts_.step()) {
    ++count;
    if (found) continue;
    const Part other{counterparts_.column_text(0), counterparts_.column_text(1),
                     counterparts_.column_text(2), counterparts_.column_text(3)};
    found = are_parts(part, other);
    if (found) docstring_ = counterparts_.column_text(4);
  }
  counterparts_.reset();
  return found && count <= MOST_COUNTERPARTS;
}

}  // namespace velmora::host::index
