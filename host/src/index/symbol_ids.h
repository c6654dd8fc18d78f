// The ids of symbols, made of what the tree holds and of nothing else: an index that was brought up
// to date has those of one made afresh, on any machine.
//
// An id is the number of the file, 31 bits of a hash of its path, and behind it the number of the
// symbol in the file, 22 bits of a hash of its kind, its fqn and its place among those of the file
// that share both. It is above 0 and below 2^53, so a JSON reader that knows doubles alone keeps
// it, and the symbols of a file are neighbours.
//
// Where hashes meet, one of the two gets a number beside its own: which one follows from what the
// tree holds now. So an id lasts as long as the path, the kind, the fqn and the place, unless what
// it met comes or goes. Of n files n^2 / 2^32 pairs meet: in one of 4,000 trees of 1,000 files, in
// one of 11 of 20,000. Of n symbols of a file n^2 / 2^23 do: in one of 800 files of 100 symbols.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/models/symbol.h"

namespace velmora::host::index {

inline constexpr int SYMBOL_BITS = 22;

// By what a symbol is told from the others of its file.
struct SymbolName {
  std::string_view kind;
  std::string_view fqn;
};

// The number that the file at `path` has when no other one wants it.
[[nodiscard]] std::int64_t wanted_file_number(std::string_view path);

// The numbers of the files of a tree, whose paths are distinct.
[[nodiscard]] std::vector<std::int64_t> file_numbers(std::span<const std::string> paths);

// The numbers of the symbols of a file, which stand in it in this order. Throws std::length_error
// for more than MOST_SYMBOLS.
[[nodiscard]] std::vector<std::int64_t> symbol_numbers(std::span<const SymbolName> symbols);

[[nodiscard]] constexpr models::SymbolId symbol_id(std::int64_t file, std::int64_t symbol) {
  return (file << SYMBOL_BITS) | symbol;
}

}  // namespace velmora::host::index
