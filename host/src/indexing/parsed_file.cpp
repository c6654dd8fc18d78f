#include "indexing/parsed_file.h"

#include <stdexcept>

namespace velmora::host::indexing {
namespace {

// Brackets open at once; the parser's memory explodes on hundreds of thousands that never close.
constexpr std::size_t DEEPEST_BRACKET = 5000;

struct DeleteParser {
  void operator()(TSParser* parser) const { ts_parser_delete(parser); }
};

void check_depth(std::string_view text) {
  std::size_t depth = 0;
  for (const char c : text) {
    if (c == '(' || c == '[' || c == '{') {
      if (++depth > DEEPEST_BRACKET) throw ExtractError("it is nested too deeply");
    } else if ((c == ')' || c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
}

}  // namespace

const Language& language_named(std::string_view name, std::string_view path) {
  // A language may have dialects, which the extension tells apart.
  const Language* const dialect = language_of(path);
  if (dialect != nullptr && dialect->name == name) return *dialect;
  const Language* const language = find_language(name);
  if (language == nullptr) throw std::invalid_argument("unknown language: " + std::string(name));
  return *language;
}

std::uint64_t Deadline::left() const {
  const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
      end_ - std::chrono::steady_clock::now());
  // To a parser, 0 would mean no limit at all.
  if (left.count() <= 0) throw ExtractError("parsing it takes too long");
  return static_cast<std::uint64_t>(left.count());
}

ParsedFile::ParsedFile(std::string_view language, std::string_view path, std::string_view source,
                       const Deadline& deadline)
    : language_(language_named(language, path)), path_(path), source_(source) {
  check_depth(source);
  if (language_.prepare != nullptr) prepared_ = language_.prepare(source);
  const std::unique_ptr<TSParser, DeleteParser> parser(ts_parser_new());
  if (!ts_parser_set_language(parser.get(), language_.grammar())) {
    throw std::logic_error("the grammar of " + std::string(language_.name) +
                           " is of another version than the parser");
  }
  ts_parser_set_timeout_micros(parser.get(), deadline.left());
  tree_.reset(ts_parser_parse_string(parser.get(), nullptr, text().data(),
                                     static_cast<std::uint32_t>(text().size())));
  if (!tree_) throw ExtractError("parsing it takes too long");
}

std::string_view ParsedFile::text() const {
  return language_.prepare != nullptr ? std::string_view(prepared_) : source_;
}

std::size_t ParsedFile::count_errors() const {
  std::size_t errors = 0;
  TSTreeCursor cursor = ts_tree_cursor_new(root());
  bool more = true;
  while (more) {
    const TSNode node = ts_tree_cursor_current_node(&cursor);
    if (ts_node_is_missing(node) || type_of(node) == "ERROR") ++errors;
    if (ts_node_has_error(node) && ts_tree_cursor_goto_first_child(&cursor)) continue;
    more = ts_tree_cursor_goto_next_sibling(&cursor);
    while (!more && ts_tree_cursor_goto_parent(&cursor)) {
      more = ts_tree_cursor_goto_next_sibling(&cursor);
    }
  }
  ts_tree_cursor_delete(&cursor);
  return errors;
}

}  // namespace velmora::host::indexing
