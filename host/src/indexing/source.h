// One file while it is read: its text, and the text of the parts that a parser found.
#pragma once

#include <tree_sitter/api.h>

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::indexing {

// A range of bytes of a file.
struct Range {
  std::uint32_t start = 0;
  std::uint32_t end = 0;

  bool operator==(const Range&) const = default;
};

struct Source {
  std::string_view path = {};
  std::string_view original = {};
  // What the parser sees: as long as the original, but things that it would stumble over may be
  // blanked.
  std::string_view text = {};
  std::vector<Range> comments = {};        // ascending
  std::set<std::string_view> scopes = {};  // the names of those that open in the file

  // The text as it stands.
  [[nodiscard]] std::string_view raw(TSNode node) const;
  // On one line: without comments, white space folded, none just inside brackets.
  [[nodiscard]] std::string line(Range range) const;
  [[nodiscard]] std::string line(TSNode node) const;
  // Whether nothing but comments and white space is there. Stops at what is not.
  [[nodiscard]] bool is_blank(Range range) const;
  // The line, counted from 1, on which a byte of the file stands.
  [[nodiscard]] std::int64_t line_number(std::uint32_t place) const;
};

[[nodiscard]] Range range_of(TSNode node);

// The child of `node` in the field `name`; a null node when there is none.
[[nodiscard]] TSNode field(TSNode node, std::string_view name);

[[nodiscard]] std::string_view type_of(TSNode node);

// All children of `node`, each with the name of its field (empty without one), by one walk: asking
// for the children one by one takes quadratic time.
struct Child {
  TSNode node;
  std::string_view field;
};
[[nodiscard]] std::vector<Child> children(TSNode node);

}  // namespace velmora::host::indexing
