#include "indexing/comments.h"

#include <algorithm>
#include <iterator>

#include "indexing/doc_comment.h"

namespace velmora::host::indexing {

Comments::Comments(const Language& language, const Source& source)
    : language_(language),
      source_(source),
      first_(source.original.find_first_not_of(" \t\r\n\xEF\xBB\xBF")) {}

std::optional<std::string> Comments::above(std::uint32_t place) const {
  const auto& comments = source_.comments;
  auto next = std::ranges::upper_bound(comments, place, {}, &Range::end);
  if (next == comments.begin()) return std::nullopt;
  Range block = *--next;
  if (!adjoins(block.end, place) || !stands_first(block.start)) return std::nullopt;
  if (is_trailing_comment(text(block))) return std::nullopt;
  if (!is_block_comment(text(block))) {
    while (next != comments.begin() && !is_block_comment(text(*std::prev(next))) &&
           adjoins(std::prev(next)->end, next->start) && stands_first(std::prev(next)->start)) {
      --next;
    }
    block.start = next->start;
  }
  if (block.start < start_) return std::nullopt;
  if (is_top(block.start) && is_licence(text(block))) return std::nullopt;
  std::string doc = without_directives(comment_text(text(block), language_.line_comments));
  if (language_.documentation != nullptr) doc = language_.documentation(doc);
  if (doc.empty()) return std::nullopt;
  return doc;
}

std::string_view Comments::text(Range range) const {
  return source_.original.substr(range.start, range.end - range.start);
}

// Nothing but blanks, and no empty line, between two places. Looked at from behind: what is near
// the second place decides, however far the first one is.
bool Comments::adjoins(std::uint32_t from, std::uint32_t to) const {
  const std::string_view parsed = source_.text.substr(from, to - from);
  if (parsed.find_last_not_of(" \t\r\n\f\v") != std::string_view::npos) return false;
  bool empty_line = false;  // since the last line break
  for (const char c : text({from, to})) {
    if (c == '\n' && empty_line) return false;
    empty_line = c == '\n' || (empty_line && (c == ' ' || c == '\t' || c == '\r'));
  }
  return true;
}

// It is the first thing on its line.
bool Comments::stands_first(std::uint32_t place) const {
  while (place > 0 && (source_.original[place - 1] == ' ' || source_.original[place - 1] == '\t')) {
    --place;
  }
  return place == 0 || source_.original[place - 1] == '\n';
}

// Nothing stands above it in the file, but for a line that names an interpreter.
bool Comments::is_top(std::uint32_t place) const {
  return source_.original.starts_with("#!") || place <= first_;
}

}  // namespace velmora::host::indexing
