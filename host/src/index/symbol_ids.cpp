#include "index/symbol_ids.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <numeric>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "index/content_hash.h"
#include "velmora/host/index/update.h"

namespace velmora::host::index {
namespace {

constexpr int FILE_BITS = 31;

// The largest number of so many bits.
constexpr std::int64_t largest(int bits) { return (std::int64_t{1} << bits) - 1; }

static_assert(MOST_SYMBOLS == largest(SYMBOL_BITS));

std::int64_t leading_bits(std::uint64_t hash, int bits) {
  return static_cast<std::int64_t>(hash >> (64 - bits));
}

// Gives numbers from 1 to `last` to as many as `order` lists, which stand in it by the numbers that
// they want: each gets the wanted one or, where that is taken, the next; and those that would be
// pushed beyond the last one keep below it.
std::vector<std::int64_t> numbers(const std::vector<std::size_t>& order,
                                  const std::vector<std::int64_t>& wanted, std::int64_t last) {
  const auto count = static_cast<std::int64_t>(order.size());
  if (count > last)
    throw std::length_error("more than " + std::to_string(last) + " to be numbered");
  std::vector<std::int64_t> given(order.size());
  std::int64_t number = 0;
  std::int64_t behind = count;  // that are still to get a number
  for (const std::size_t one : order) {
    number = std::min(std::max(wanted[one], number + 1), last - --behind);
    given[one] = number;
  }
  return given;
}

std::vector<std::size_t> places(std::size_t count) {
  std::vector<std::size_t> places(count);
  std::iota(places.begin(), places.end(), std::size_t{0});
  return places;
}

}  // namespace

std::int64_t wanted_file_number(std::string_view path) {
  return std::max<std::int64_t>(leading_bits(content_hash(path), FILE_BITS), 1);
}

std::vector<std::int64_t> file_numbers(std::span<const std::string> paths) {
  std::vector<std::int64_t> wanted;
  wanted.reserve(paths.size());
  for (const std::string& path : paths) wanted.push_back(wanted_file_number(path));
  std::vector<std::size_t> order = places(paths.size());
  std::ranges::sort(order, [&](std::size_t left, std::size_t right) {
    return std::tie(wanted[left], paths[left]) < std::tie(wanted[right], paths[right]);
  });
  return numbers(order, wanted, largest(FILE_BITS));
}

std::vector<std::int64_t> symbol_numbers(std::span<const SymbolName> symbols) {
  std::vector<std::int64_t> wanted;
  wanted.reserve(symbols.size());
  std::map<std::pair<std::string_view, std::string_view>, std::uint64_t> equals;
  std::string text;
  for (const SymbolName& symbol : symbols) {
    const std::uint64_t place = equals[{symbol.kind, symbol.fqn}]++;
    text.assign(symbol.kind).append(1, '\0').append(symbol.fqn);
    wanted.push_back(leading_bits(content_hash(text, place), SYMBOL_BITS));
  }
  std::vector<std::size_t> order = places(symbols.size());
  std::ranges::sort(order, [&](std::size_t left, std::size_t right) {
    const SymbolName &a = symbols[left], &b = symbols[right];
    // Equal ones stand by their place, which is their order in the file.
    return std::tie(wanted[left], a.kind, a.fqn, left) <
           std::tie(wanted[right], b.kind, b.fqn, right);
  });
  return numbers(order, wanted, MOST_SYMBOLS);
}

}  // namespace velmora::host::index
