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

// "Shop::Cart", "::Top"
Declared named(std::string kind, const std::string& text) {
  Declared declared{.kind = std::move(kind), .name = text};
  const std::size_t stop = text.rfind("::");
  if (stop != std::string::npos) {
    declared.global = text.starts_with("::");
    declared.qualifier = text.substr(0, stop);
    if (stop > 0 && declared.global) declared.qualifier.erase(0, 2);
    declared.name = text.substr(stop + 2);
  }
  return declared;
}

// "class Shop::Cart < Base"
Declared describe_class(const Found& found, const Source& source) {
  Declared declared = named("class", source.line(found.name));
  const TSNode base = field(found.node, "superclass");
  if (!ts_node_is_null(base)) declared.signature = ' ' + source.line(base);
  return declared;
}

// "." before what one calls on the class, "#" before what one calls on its objects.
std::string_view method_separator(const Enclosing* around) {
  return around != nullptr && around->role == Enclosing::Role::singleton ? "." : "#";
}

Declared describe_method(const Found& found, std::span<const Enclosing> enclosing,
                         const Source& source) {
  const Enclosing* const around = owner(enclosing);
  Declared declared{.kind = around == nullptr ? "function" : "method",
                    .name = source.line(found.name),
                    .separator = method_separator(around)};
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
  Declared declared = named("constant", source.line(found.name));
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

// The name that a symbol or a text stands for; empty where it is worked out.
std::string literal_name(TSNode node, const Source& source) {
  if (type_of(node) == "simple_symbol") return std::string(source.raw(node).substr(1));
  if (type_of(node) != "string" || ts_node_named_child_count(node) != 1) return {};
  const TSNode content = ts_node_named_child(node, 0);
  return type_of(content) == "string_content" ? std::string(source.raw(content)) : "";
}

// "attr_accessor :title, :pages": what they are read by, or written by when that is all.
void describe_attributes(const Found& found, std::span<const Enclosing> enclosing,
                         const Source& source, std::vector<Declared>& out) {
  const Enclosing* const around = owner(enclosing);
  const TSNode arguments = field(found.node, "arguments");
  if (around == nullptr || ts_node_is_null(arguments)) return;
  const bool written = source.raw(found.name) == "attr_writer";
  for (const Child& argument : children(arguments)) {
    std::string name = literal_name(argument.node, source);
    if (name.empty() || out.size() == MOST_DECLARATORS) continue;
    out.push_back({.kind = "method",
                   .name = std::move(name) + (written ? "=" : ""),
                   .separator = method_separator(around)});
  }
}

// "define_method(:turn) { |page, by: 1| ... }"
void describe_made(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  const Enclosing* const around = owner(enclosing);
  const TSNode arguments = field(found.node, "arguments");
  if (around == nullptr || ts_node_is_null(arguments)) return;
  const TSNode first = ts_node_named_child(arguments, 0);
  if (ts_node_is_null(first)) return;
  const bool singleton = source.raw(found.name) == "define_singleton_method";
  Declared declared{.kind = "method",
                    .name = literal_name(first, source),
                    .separator = singleton ? "." : method_separator(around)};
  if (declared.name.empty()) return;
  const TSNode block = field(found.node, "block");
  const TSNode list = ts_node_is_null(block) ? block : field(block, "parameters");
  if (!ts_node_is_null(list)) {
    const Range range = range_of(list);  // with a bar at both ends
    declared.signature = '(' + source.line(Range{range.start + 1, range.end - 1}) + ')';
  }
  out.push_back(std::move(declared));
}

void describe_ruby(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  if (found.kind == "class") {
    out.push_back(describe_class(found, source));
  } else if (found.kind == "method") {
    out.push_back(describe_method(found, enclosing, source));
  } else if (found.kind == "called" && source.raw(found.name).starts_with("attr")) {
    describe_attributes(found, enclosing, source, out);
  } else if (found.kind == "called") {
    describe_made(found, enclosing, source, out);
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
