#include "indexing/parsed_file.h"

#include <cstdint>
#include <stdexcept>

namespace velmora::host::indexing {
namespace {

struct DeleteParser {
  void operator()(TSParser* parser) const { ts_parser_delete(parser); }
};

const Language& language_named(std::string_view name, std::string_view path) {
  const Language* const language = find_language(name, path);
  if (language == nullptr) throw std::invalid_argument("unknown language: " + std::string(name));
  return *language;
}

}  // namespace

ParsedFile::ParsedFile(std::string_view language, std::string_view path, std::string_view source)
    : language_(language_named(language, path)), path_(path), source_(source) {
  if (language_.prepare != nullptr) prepared_ = language_.prepare(source);
  const std::unique_ptr<TSParser, DeleteParser> parser(ts_parser_new());
  if (!ts_parser_set_language(parser.get(), language_.grammar())) {
    throw std::logic_error("the grammar of " + std::string(language_.name) +
                           " is of another version than the parser");
  }
  tree_.reset(ts_parser_parse_string(parser.get(), nullptr, text().data(),
                                     static_cast<std::uint32_t>(text().size())));
  if (!tree_) throw std::logic_error("the parser has no language");
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
