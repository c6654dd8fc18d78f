// R. The systems of classes are libraries of calls.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/names.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_r();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::r};
constexpr std::string_view COMMENTS[] = {"#'", "#"};

// A name, or one in quotes or backticks, as it is without them.
std::string plain_name(TSNode node, const Source& source) {
  std::string name = source.line(node);
  const bool is_quoted =
      name.size() > 2 && std::string_view("\"'`").find(name.front()) != std::string_view::npos;
  return is_quoted ? name.substr(1, name.size() - 2) : name;
}

bool assigns(TSNode node, const Source& source) {
  const TSNode operation = field(node, "operator");
  if (ts_node_is_null(operation)) return false;
  const std::string_view text = source.raw(operation);
  return text == "<-" || text == "=" || text == "<<-";
}

bool is_name(TSNode node) {
  const std::string_view type = type_of(node);
  return type == "identifier" || type == "string";
}

std::string parameters(TSNode function, const Source& source) {
  const TSNode list = field(function, "parameters");
  return ts_node_is_null(list) ? "()" : source.line(list);
}

// The text of the call's argument at `place`, from 0, or a null node.
TSNode argument(TSNode call, std::size_t place) {
  const TSNode list = field(call, "arguments");
  if (ts_node_is_null(list)) return {};
  for (const Child& child : children(list)) {
    if (type_of(child.node) != "argument") continue;
    if (place-- == 0) return field(child.node, "value");
  }
  return {};
}

// setClass("Circle", ...), setGeneric("area", function(shape) ...), setMethod("area", "Circle",
// function(shape) ...), R6Class("Account", ...)
void describe_call(const Found& found, const Source& source, std::vector<Declared>& out) {
  constexpr std::array<std::string_view, 5> CLASSES = {"setClass", "setRefClass", "R6Class",
                                                       "setClassUnion", "new_class"};
  std::string_view callee = source.raw(found.name);
  callee = callee.substr(callee.rfind(':') + 1);
  const bool is_class = std::ranges::find(CLASSES, callee) != CLASSES.end();
  if (!is_class && callee != "setGeneric" && callee != "setMethod") return;
  const TSNode first = argument(found.node, 0);
  if (ts_node_is_null(first) || type_of(first) != "string") return;
  Declared made{.kind = is_class ? "class" : "function", .name = plain_name(first, source)};
  if (!is_class) {
    made.hides = true;
    const bool is_method = callee == "setMethod";
    TSNode second = argument(found.node, 1);
    const TSNode function = is_method ? argument(found.node, 2) : second;
    if (is_method) {
      made.kind = "method";
      // signature("Circle", ...)
      if (!ts_node_is_null(second) && type_of(second) == "call") second = argument(second, 0);
      if (!ts_node_is_null(second) && type_of(second) == "string") {
        made.qualifier = plain_name(second, source);
      }
    }
    if (!ts_node_is_null(function) && type_of(function) == "function_definition") {
      made.signature = parameters(function, source);
    }
  }
  out.push_back(std::move(made));
}

void describe_r(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                std::vector<Declared>& out) {
  if (found.kind == "call") {
    describe_call(found, source, out);
  } else if (found.kind == "member") {
    // Of a call that defines no class, otherwise.
    if (!in_type(enclosing)) return;
    out.push_back({.kind = "method",
                   .name = plain_name(found.name, source),
                   .signature = parameters(field(found.node, "value"), source)});
  } else if (is_name(found.name) && assigns(found.node, source) && !in_type(enclosing)) {
    Declared assigned{.kind = "function", .name = plain_name(found.name, source)};
    if (found.kind == "function") {
      assigned.signature = parameters(field(found.node, "rhs"), source);
    } else if (is_in_capitals(assigned.name)) {
      assigned.kind = "constant";
      assigned.signature = constant_header(found.node, ts_node_end_byte(found.name), source);
      if (assigned.signature.size() > LONGEST_VALUE) assigned.signature.clear();
      if (assigned.signature.starts_with('<')) assigned.signature.insert(0, 1, ' ');
    } else {
      return;
    }
    out.push_back(std::move(assigned));
  }
}

// Up to the tags of the documentation tool, which tell of the parameters and to whom it is
// exported; what a description says stands before them.
std::string without_tags(const std::string& text) {
  std::string prose;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t stop = std::min(text.find('\n', start), text.size());
    std::string_view line = std::string_view(text).substr(start, stop - start);
    for (const std::string_view tag : {"@description", "@title", "@details"}) {
      if (line.starts_with(tag)) line.remove_prefix(std::min(line.size(), tag.size() + 1));
    }
    if (line.starts_with('@')) break;
    prose.append(line) += '\n';
    start = stop + 1;
  }
  const std::size_t first = prose.find_first_not_of('\n');
  if (first == std::string::npos) return {};
  return prose.substr(first, prose.find_last_not_of('\n') + 1 - first);
}

}  // namespace

constinit const Language languages::r = {
    .name = "r",
    .grammar = tree_sitter_r,
    .queries = QUERIES,
    .separator = "$",
    .line_comments = COMMENTS,
    .describe = describe_r,
    .documentation = without_tags,
};

}  // namespace velmora::host::indexing
