// Lua.

#include <algorithm>
#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/names.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_lua();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::lua};
constexpr std::string_view COMMENTS[] = {"---", "--"};

std::string parameters(TSNode function, const Source& source) {
  const TSNode list = field(function, "parameters");
  return ts_node_is_null(list) ? "()" : '(' + source.line(list) + ')';
}

// "Account.new", "Account:deposit"
Declared named(const std::string& text) {
  const std::size_t stop = text.find_last_of(".:");
  if (stop == std::string::npos) return {.kind = "function", .name = text};
  const bool method = text[stop] == ':';
  return {.kind = method ? "method" : "function",
          .qualifier = text.substr(0, stop),
          .name = text.substr(stop + 1),
          .separator = method ? ":" : "."};
}

// "local a, b = 1, function() end"
void describe_variables(TSNode statement, const Source& source, std::vector<Declared>& out) {
  std::vector<TSNode> names;
  std::vector<TSNode> values;
  for (const Child& list : children(statement)) {
    const std::string_view type = type_of(list.node);
    if (type != "variable_list" && type != "expression_list") continue;
    for (const Child& child : children(list.node)) {
      if (!ts_node_is_named(child.node)) continue;
      (type == "variable_list" ? names : values).push_back(child.node);
    }
  }
  const std::size_t count = std::min({names.size(), values.size(), MOST_DECLARATORS});
  for (std::size_t i = 0; i < count; ++i) {
    const std::string text = source.line(names[i]);
    if (text.find_first_of("[(\"") != std::string::npos) continue;
    Declared declared = named(text.substr(0, text.find(' ')));  // before " <const>"
    if (type_of(values[i]) == "function_definition") {
      declared.signature = parameters(values[i], source);
    } else if (is_in_capitals(declared.name)) {
      declared.kind = "constant";
      declared.signature = constant_header(values[i], ts_node_start_byte(values[i]), source);
      if (!declared.signature.empty()) declared.signature.insert(0, " = ");
    } else {
      continue;
    }
    out.push_back(std::move(declared));
  }
}

void describe_lua(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                  std::vector<Declared>& out) {
  if (found.kind == "variables") {
    describe_variables(found.node, source, out);
  } else if (found.kind == "field") {
    // Of a table that nothing names, otherwise.
    if (!in_type(enclosing)) return;
    out.push_back({.kind = "function",
                   .name = source.line(found.name),
                   .signature = parameters(field(found.node, "value"), source)});
  } else {
    out.push_back(named(source.line(found.name)));
    out.back().signature = parameters(found.node, source);
  }
}

}  // namespace

constinit const Language languages::lua = {
    .name = "lua",
    .grammar = tree_sitter_lua,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = COMMENTS,
    .describe = describe_lua,
};

}  // namespace velmora::host::indexing
