// Ruby. A module is a class to those who cite it.

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_ruby();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::ruby};
constexpr std::string_view COMMENTS[] = {"##", "#"};

// What encloses a definition directly: a class, or "class << self". Null: neither.
const Enclosing* owner(std::span<const Enclosing> enclosing) {
  for (std::size_t i = enclosing.size(); i > 0; --i) {
    const Enclosing& around = enclosing[i - 1];
    if (around.role == Enclosing::Role::type || around.role == Enclosing::Role::singleton) {
      return &around;
    }
  }
  return nullptr;
}

// "class Shop::Cart < Base"
Declared describe_class(const Found& found, const Source& source) {
  const std::string text = source.line(found.name);
  const std::size_t stop = text.rfind("::");
  Declared declared{.kind = "class", .name = text};
  if (stop != std::string::npos) {
    declared.qualifier = text.substr(0, stop);
    declared.name = text.substr(stop + 2);
  }
  const TSNode base = field(found.node, "superclass");
  if (!ts_node_is_null(base)) declared.signature = ' ' + source.line(base);
  return declared;
}

Declared describe_method(const Found& found, std::span<const Enclosing> enclosing,
                         const Source& source) {
  const Enclosing* const around = owner(enclosing);
  Declared declared{.kind = around == nullptr ? "function" : "method",
                    .name = source.line(found.name),
                    .separator = "#"};
  if (around != nullptr && around->role == Enclosing::Role::singleton) declared.separator = ".";
  if (const TSNode object = field(found.node, "object"); !ts_node_is_null(object)) {
    declared.separator = ".";
    const std::string text = source.line(object);
    if (text != "self" && (around == nullptr || text != around->name)) {
      declared.qualifier = text;
      declared.kind = "method";
    }
  } else if (declared.kind == "method" && declared.name == "initialize") {
    declared.kind = "constructor";
  }
  if (const TSNode parameters = field(found.node, "parameters"); !ts_node_is_null(parameters)) {
    const std::string text = source.line(parameters);
    declared.signature = text.starts_with('(') ? text : '(' + text + ')';
  }
  return declared;
}

// "LIMIT = 3", and "Point = Struct.new(:x, :y)", which is a class.
Declared describe_constant(const Found& found, const Source& source) {
  constexpr std::string_view MAKERS[] = {"Struct.new", "Class.new", "Module.new", "Data.define"};
  Declared declared{.kind = "constant", .name = source.line(found.name)};
  const TSNode value = field(found.node, "right");
  if (ts_node_is_null(value)) return declared;
  const std::string_view text = source.raw(value);
  const bool makes_class =
      std::ranges::any_of(MAKERS, [&](std::string_view maker) { return text.starts_with(maker); });
  if (makes_class && type_of(value) == "call") {
    declared.kind = "class";
    const TSNode block = field(value, "block");
    const std::uint32_t end =
        ts_node_is_null(block) ? ts_node_end_byte(value) : ts_node_start_byte(block);
    declared.signature = " = " + source.line(Range{ts_node_start_byte(value), end});
  } else {
    declared.signature = constant_header(found.node, ts_node_end_byte(found.name), source);
  }
  return declared;
}

void describe_ruby(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  if (found.kind == "class") {
    out.push_back(describe_class(found, source));
  } else if (found.kind == "method") {
    out.push_back(describe_method(found, enclosing, source));
  } else {
    out.push_back(describe_constant(found, source));
  }
}

}  // namespace

constinit const Language languages::ruby = {
    .name = "ruby",
    .grammar = tree_sitter_ruby,
    .queries = QUERIES,
    .separator = "::",
    .line_comments = COMMENTS,
    .describe = describe_ruby,
};

}  // namespace velmora::host::indexing
