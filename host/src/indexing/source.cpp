#include "indexing/source.h"

#include <algorithm>
#include <cstring>

namespace velmora::host::indexing {
namespace {

bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// Appends `text` folded. A backslash before a line break only continues a line.
void fold(std::string_view text, std::string& out) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool continues =
        c == '\\' && i + 1 < text.size() && (text[i + 1] == '\n' || text[i + 1] == '\r');
    if (is_space(c) || continues) {
      if (!out.empty() && out.back() != ' ' && out.back() != '(' && out.back() != '[') out += ' ';
      continue;
    }
    if ((c == ')' || c == ']' || c == ',') && !out.empty() && out.back() == ' ') {
      out.pop_back();
      // A list that is broken over lines often ends with a comma.
      if (c != ',' && !out.empty() && out.back() == ',') out.pop_back();
    }
    out += c;
  }
}

}  // namespace

Range range_of(TSNode node) { return {ts_node_start_byte(node), ts_node_end_byte(node)}; }

TSNode field(TSNode node, std::string_view name) {
  return ts_node_child_by_field_name(node, name.data(), static_cast<std::uint32_t>(name.size()));
}

std::string_view type_of(TSNode node) { return ts_node_type(node); }

std::vector<Child> children(TSNode node) {
  std::vector<Child> found;
  TSTreeCursor cursor = ts_tree_cursor_new(node);
  for (bool more = ts_tree_cursor_goto_first_child(&cursor); more;
       more = ts_tree_cursor_goto_next_sibling(&cursor)) {
    const char* name = ts_tree_cursor_current_field_name(&cursor);
    found.push_back({ts_tree_cursor_current_node(&cursor), name == nullptr ? "" : name});
  }
  ts_tree_cursor_delete(&cursor);
  return found;
}

std::string_view Source::raw(TSNode node) const {
  const Range range = range_of(node);
  return text.substr(range.start, range.end - range.start);
}

std::string Source::line(Range range) const {
  std::string folded;
  auto comment = std::ranges::lower_bound(comments, range.start, {}, &Range::end);
  while (range.start < range.end) {
    const bool last = comment == comments.end() || comment->start >= range.end;
    const std::uint32_t stop = last ? range.end : std::max(range.start, comment->start);
    fold(text.substr(range.start, stop - range.start), folded);
    if (last) break;
    fold(" ", folded);
    range.start = std::max(range.start, comment->end);
    ++comment;
  }
  while (!folded.empty() && folded.back() == ' ') folded.pop_back();
  if (!folded.empty() && folded.front() == ' ') folded.erase(0, 1);
  return folded;
}

std::string Source::line(TSNode node) const { return line(range_of(node)); }

bool Source::is_blank(Range range) const {
  auto comment = std::ranges::lower_bound(comments, range.start, {}, &Range::end);
  for (std::uint32_t at = range.start; at < range.end;) {
    if (comment != comments.end() && comment->start <= at) {
      at = std::max(at, comment->end);
      ++comment;
    } else if (is_space(text[at])) {
      ++at;
    } else {
      return false;
    }
  }
  return true;
}

std::int64_t Source::line_number(std::uint32_t place) const {
  return 1 + std::ranges::count(original.substr(0, place), '\n');
}

}  // namespace velmora::host::indexing
