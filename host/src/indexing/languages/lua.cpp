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

// What those who require a file call it: its name, or that of its folder: "account" for
// "shop/account.lua" and for "account/init.lua".
std::string module_of(std::string_view path) {
  path = path.substr(0, path.rfind('.'));
  constexpr std::string_view FOLDER = "/init";
  if (path.ends_with(FOLDER)) path.remove_suffix(FOLDER.size());
  return std::string(path.substr(path.rfind('/') + 1));
}

// What a variable is cited as: "M" is what people call the module in its own file.
std::string cited(std::string text, const Source& source) {
  const std::size_t stop = std::min(text.find_first_of(".:"), text.size());
  const std::string_view first = std::string_view(text).substr(0, stop);
  if (first == "M" || first == "_M") return text.replace(0, stop, module_of(source.path));
  if (first == "_G" && stop < text.size()) return text.substr(stop + 1);
  return text;
}

// "Account.new", "Account:deposit"
Declared named(const std::string& written, const Source& source) {
  const std::string text = cited(written, source);
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
    Declared declared = named(text.substr(0, text.find(' ')), source);  // before " <const>"
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
  } else if (found.kind == "table") {
    const bool returned = ts_node_is_null(found.name);
    std::string name = returned ? "M" : source.line(found.name);
    if (name.find_first_of("[(\"") != std::string::npos) return;
    out.push_back({.name = cited(std::move(name), source), .only = Enclosing::Role::type});
  } else if (found.kind == "inner") {
    if (!in_type(enclosing)) return;
    out.push_back({.name = source.line(found.name), .only = Enclosing::Role::type});
  } else {
    out.push_back(named(source.line(found.name), source));
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
