#include "index/renumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "index/symbol_ids.h"

namespace velmora::host::index {
namespace {

using storage::Database;
using storage::Statement;

struct Move {
  std::int64_t from = 0;
  std::int64_t to = 0;
};

// Runs `update`, which takes the number ?1 to ?2, so that no row meets one that is still to move:
// all go to the smallest numbers there are first. REQUIRES: `moves` are by ascending `from`, and
// what stays has a number above 0 or is none at all.
void move_rows(const Database& database, std::string_view update, const std::vector<Move>& moves) {
  constexpr std::int64_t ASIDE = std::numeric_limits<std::int64_t>::min();
  Statement statement = database.prepare(update);
  std::int64_t aside = ASIDE;
  for (const Move& move : moves) statement.bind(1, move.from).bind(2, aside++).run();
  aside = ASIDE;
  for (const Move& move : moves) statement.bind(1, aside++).bind(2, move.to).run();
}

void move_files(const Database& database, const std::vector<Move>& moves) {
  move_rows(database, "UPDATE files SET id = ?2 WHERE id = ?1", moves);
}

void move_symbols(const Database& database, const std::vector<Move>& moves) {
  const std::string file = "?2 >> " + std::to_string(SYMBOL_BITS);
  move_rows(database, "UPDATE symbols SET id = ?2, file = " + file + " WHERE id = ?1", moves);
  for (const char* table : {"embeddings", "waiting"}) {
    move_rows(database,
              std::string("UPDATE ") + table +
                  " SET symbol = ?2 WHERE model IN (SELECT id FROM models) AND symbol = ?1",
              moves);
  }
}

// The files whose number is not the tree's.
std::vector<Move> file_moves(const Database& database) {
  std::vector<std::int64_t> ids;
  std::vector<std::string> paths;
  Statement select = database.prepare("SELECT id, path FROM files ORDER BY id");
  while (select.step()) {
    ids.push_back(select.column_int64(0));
    paths.emplace_back(select.column_text(1));
  }
  const std::vector<std::int64_t> numbers = file_numbers(paths);
  std::vector<Move> moves;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (ids[i] != numbers[i]) moves.push_back({ids[i], numbers[i]});
  }
  return moves;
}

// Collects the symbols of an import, one file after the other.
class ImportMoves {
 public:
  void add(std::int64_t id, std::string_view kind, std::string_view fqn) {
    symbols_.push_back({id, std::string(kind), std::string(fqn)});
  }

  // Ends a file, which gets the number `file`.
  void end_file(std::int64_t file) {
    const std::vector<SymbolName> names(symbols_.begin(), symbols_.end());
    const std::vector<std::int64_t> numbers = symbol_numbers(names);
    for (std::size_t i = 0; i < symbols_.size(); ++i) {
      moves_.push_back({symbols_[i].id, symbol_id(file, numbers[i])});
    }
    symbols_.clear();
  }

  std::vector<Move> by_id() && {
    std::ranges::sort(moves_, {}, &Move::from);
    return std::move(moves_);
  }

 private:
  struct Stored {
    std::int64_t id = 0;
    std::string kind;
    std::string fqn;

    operator SymbolName() const { return {kind, fqn}; }
  };

  std::vector<Stored> symbols_;  // of the file at hand
  std::vector<Move> moves_;
};

}  // namespace

bool renumber_files(Database& database) {
  const std::vector<Move> files = file_moves(database);
  if (files.empty()) return false;
  std::vector<Move> symbols;
  Statement select =
      database.prepare("SELECT id FROM symbols WHERE id >= ? AND id < ? ORDER BY id");
  for (const Move& file : files) {
    const std::int64_t from = symbol_id(file.from, 0);
    select.bind(1, from).bind(2, symbol_id(file.from + 1, 0));
    while (select.step()) {
      const std::int64_t id = select.column_int64(0);
      symbols.push_back({id, symbol_id(file.to, id - from)});
    }
    select.reset();
  }
  move_files(database, files);
  move_symbols(database, symbols);
  return true;
}

bool renumber_import(Database& database) {
  const std::vector<Move> files = file_moves(database);
  if (files.empty()) return false;  // an import counts its files from 1
  std::unordered_map<std::int64_t, std::int64_t> moved;
  for (const Move& file : files) moved.emplace(file.from, file.to);
  const auto number_of = [&](std::int64_t file) {
    const auto found = moved.find(file);
    return found == moved.end() ? file : found->second;
  };
  ImportMoves symbols;
  Statement select =
      database.prepare("SELECT file, id, kind, fqn FROM symbols ORDER BY file, start_line, id");
  std::int64_t file = 0;
  while (select.step()) {
    if (select.column_int64(0) != file) symbols.end_file(number_of(file));
    file = select.column_int64(0);
    symbols.add(select.column_int64(1), select.column_text(2), select.column_text(3));
  }
  symbols.end_file(number_of(file));
  select.reset();
  move_files(database, files);
  move_symbols(database, std::move(symbols).by_id());
  return true;
}

}  // namespace velmora::host::index
