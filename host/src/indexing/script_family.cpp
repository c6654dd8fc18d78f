#include "indexing/script_family.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/doc_comment.h"
#include "indexing/names.h"

namespace velmora::host::indexing {
namespace {

bool is_function(TSNode value) {
  if (ts_node_is_null(value)) return false;
  const std::string_view type = type_of(value);
  return type == "arrow_function" || type == "function_expression" || type == "generator_function";
}

// "<T>(item: T): Result" of a function without a name of its own.
std::string function_signature(TSNode function, const Source& source) {
  if (const TSNode only = field(function, "parameter"); !ts_node_is_null(only)) {
    return '(' + source.line(only) + ')';
  }
  const TSNode parameters = field(function, "parameters");
  if (ts_node_is_null(parameters)) return {};
  const TSNode types = field(function, "type_parameters");
  const TSNode result = field(function, "return_type");
  return source.line(Range{ts_node_start_byte(ts_node_is_null(types) ? parameters : types),
                           ts_node_end_byte(ts_node_is_null(result) ? parameters : result)});
}

// " extends Base" of a class that something else names.
std::string class_signature(TSNode value, const Source& source) {
  const TSNode own = field(value, "name");
  const std::uint32_t keyword = ts_node_start_byte(value) + std::uint32_t{sizeof("class") - 1};
  return header(value, ts_node_is_null(own) ? keyword : ts_node_end_byte(own), source);
}

// Whether the statement that declares a variable is exported, and whether it says "const".
struct Statement {
  bool exported = false;
  bool constant = false;
};

Statement statement_around(std::span<const Enclosing> enclosing, const Source& source) {
  Statement statement;
  for (std::size_t i = enclosing.size(); i > 0; --i) {
    const Enclosing& around = enclosing[i - 1];
    if (around.role != Enclosing::Role::wrapper) break;
    const std::string_view text = source.text.substr(around.range.start);
    if (text.starts_with("const")) statement.constant = true;
    if (text.starts_with("export") || text.starts_with("declare")) statement.exported = true;
  }
  return statement;
}

void describe_variable(const Found& found, std::span<const Enclosing> enclosing,
                       const Source& source, std::vector<Declared>& out) {
  const TSNode value = field(found.node, "value");
  Declared declared{.name = source.line(found.name)};
  if (is_function(value)) {
    declared.kind = "function";
    declared.signature = function_signature(value, source);
  } else if (!ts_node_is_null(value) && type_of(value) == "class") {
    declared.kind = "class";
    declared.signature = class_signature(value, source);
  } else {
    const Statement statement = statement_around(enclosing, source);
    const bool counts = statement.constant && statement.exported;
    if (!counts && !is_in_capitals(declared.name)) return;
    declared.kind = "constant";
    declared.signature = constant_header(found.node, ts_node_end_byte(found.name), source);
  }
  out.push_back(std::move(declared));
}

// What a file exports as a whole goes by its own name, or by that of the file.
std::string name_of_export(TSNode value, const Source& source) {
  if (const TSNode own = field(value, "name"); !ts_node_is_null(own)) return source.line(own);
  const std::string_view file = source.path.substr(source.path.rfind('/') + 1);
  return std::string(file.substr(0, file.find('.')));
}

Declared describe_value(TSNode value, const Source& source) {
  if (is_function(value)) {
    return {.kind = "function", .signature = function_signature(value, source)};
  }
  return {.kind = "class", .signature = class_signature(value, source)};
}

// "exports.name = ...", "Type.prototype.name = ...", "module.exports = ..."
void describe_assigned(const Found& found, const Source& source, std::vector<Declared>& out) {
  const TSNode property = field(found.name, "property");
  const TSNode object = field(found.name, "object");
  if (ts_node_is_null(property) || ts_node_is_null(object)) return;
  const TSNode value = field(found.node, "right");
  Declared declared = describe_value(value, source);
  declared.qualifier = source.line(object);
  declared.name = source.line(property);
  constexpr std::string_view PROTOTYPE = ".prototype";
  if (declared.qualifier == "module" && declared.name == "exports") {
    declared.qualifier.clear();
    declared.name = name_of_export(value, source);
  } else if (declared.qualifier.ends_with(PROTOTYPE)) {
    declared.qualifier.resize(declared.qualifier.size() - PROTOTYPE.size());
    declared.kind = "method";
  } else if (declared.qualifier == "exports" || declared.qualifier == "module.exports") {
    declared.qualifier.clear();
  }
  out.push_back(std::move(declared));
}

// The comment's prose when it speaks of the file, and the name that it gives it.
std::optional<ModuleDocstring> read_module_comment(std::string_view comment) {
  constexpr std::string_view TAGS[] = {"@module", "@fileoverview", "@fileOverview", "@file",
                                       "@packageDocumentation"};
  const std::string prose = comment_text(comment, SLASH_COMMENTS);
  ModuleDocstring docstring;
  bool tagged = false;
  for (std::size_t at = 0; at < prose.size();) {
    const std::size_t stop = std::min(prose.find('\n', at), prose.size());
    std::string_view line = std::string_view(prose).substr(at, stop - at);
    at = stop + 1;
    if (is_licence(line) || line.starts_with("@license")) break;
    const std::size_t word = std::min(line.find(' '), line.size());
    const std::string_view tag = line.substr(0, word);
    if (std::ranges::find(TAGS, tag) != std::end(TAGS)) {
      tagged = true;
      line.remove_prefix(std::min(word + 1, line.size()));
      if (tag == "@module") {
        docstring.name = line.substr(0, line.find(' '));
        continue;
      }
      if (line.empty()) continue;
    }
    docstring.text.append(line) += '\n';
  }
  docstring.text = docstring_text(docstring.text);
  if (!tagged || docstring.text.empty()) return std::nullopt;
  return docstring;
}

}  // namespace

void describe_script(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  if (found.kind == "variable") {
    describe_variable(found, enclosing, source, out);
    return;
  }
  if (found.kind == "assigned") {
    describe_assigned(found, source, out);
    return;
  }
  if (found.kind == "default") {
    const TSNode exported = field(found.node, "value");
    out.push_back(describe_value(exported, source));
    out.back().name = name_of_export(exported, source);
    return;
  }
  Declared declared{.kind = std::string(found.kind), .name = source.line(found.name)};
  // The methods of a class without a name.
  if (declared.kind == "method" && !in_type(enclosing)) return;
  if (declared.kind == "method" && declared.name == "constructor") declared.kind = "constructor";
  // "name = (event) => {}" in a class and "name: (event) => {}" in an object.
  const TSNode value = field(found.node, "value");
  declared.signature = is_function(value)
                           ? function_signature(value, source)
                           : header(found.node, ts_node_end_byte(found.name), source);
  out.push_back(std::move(declared));
}

std::optional<ModuleDocstring> script_module_docstring(TSNode root, const Source& source,
                                                       const Comments& /*comments*/) {
  for (const Child& child : children(root)) {
    if (type_of(child.node) != "comment" || !source.raw(child.node).starts_with("/**")) continue;
    std::optional<ModuleDocstring> docstring = read_module_comment(source.raw(child.node));
    if (!docstring) continue;
    docstring->range = range_of(child.node);
    if (docstring->name.empty()) docstring->name = source.path.substr(0, source.path.rfind('.'));
    return docstring;
  }
  return std::nullopt;
}

}  // namespace velmora::host::indexing
