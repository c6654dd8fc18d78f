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
#include "indexing/script_names.h"
#include "indexing/script_values.h"

namespace velmora::host::indexing {
namespace {

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
  const TSNode function = function_of(value, source);
  Declared declared{.name = source.line(found.name)};
  const bool itself = !ts_node_is_null(function) && ts_node_eq(function, value);
  if (itself || (!ts_node_is_null(function) && !is_in_capitals(declared.name))) {
    declared.kind = "function";
    declared.signature = function_signature(function, source);
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

// A function or class that has its name from elsewhere.
std::optional<Declared> describe_value(TSNode value, const Source& source) {
  if (type_of(value) == "class") {
    return Declared{.kind = "class", .signature = class_signature(value, source)};
  }
  const TSNode function = function_of(value, source);
  if (ts_node_is_null(function)) return std::nullopt;
  return Declared{.kind = "function", .signature = function_signature(function, source)};
}

// What a file exports as a whole goes by its own name, or by that of the file.
std::string name_of_export(TSNode value, const Source& source) {
  if (const TSNode function = function_of(value, source); !ts_node_is_null(function)) {
    value = function;
  }
  const TSNode own = field(value, "name");
  return ts_node_is_null(own) ? script_module(source.path) : source.line(own);
}

// "exports.name = ...", "Type.prototype.name = ...", "module.exports = ..."
void describe_assigned(const Found& found, const Source& source, std::vector<Declared>& out) {
  const TSNode value = field(found.node, "right");
  const std::optional<PropertyName> property = property_name(found.name, source);
  std::optional<Declared> declared = describe_value(value, source);
  if (!property || !declared) return;
  if (property->inherited) declared->kind = "method";
  declared->global = property->global;
  const std::size_t stop = property->text.rfind('.');
  if (property->text.empty()) {
    declared->name = name_of_export(value, source);
  } else if (stop == std::string::npos) {
    declared->name = property->text;
  } else {
    declared->qualifier = property->text.substr(0, stop);
    declared->name = property->text.substr(stop + 1);
  }
  out.push_back(std::move(*declared));
}

// What the functions of an object are called after.
void describe_object(const Found& found, const Source& source, std::vector<Declared>& out) {
  Declared declared{.only = Enclosing::Role::type};
  if (ts_node_is_null(found.name)) {
    // What the file exports.
  } else if (const std::string_view type = type_of(found.name);
             type == "identifier" || type == "member_expression") {
    const std::optional<PropertyName> property = property_name(found.name, source);
    if (!property) return;
    declared.name = property->text;
    declared.global = property->global;
  } else {
    const std::optional<std::string> key = key_name(found.name, source);
    if (!key) return;
    declared.name = *key;
  }
  out.push_back(std::move(declared));
}

// Whether a member stands in what encloses it directly: the class or object has a name then.
bool is_owned(const Found& found, std::span<const Enclosing> enclosing) {
  if (ts_node_is_null(found.owner)) return true;
  const Range owner = range_of(found.owner);
  return !enclosing.empty() && enclosing.back().role == Enclosing::Role::type &&
         enclosing.back().range.start <= owner.start && enclosing.back().range.end == owner.end;
}

// Whether a value is "() => name", as tools write it for what a module exports.
bool gives_name(TSNode value, std::string_view name, const Source& source) {
  if (ts_node_is_null(value) || type_of(value) != "arrow_function") return false;
  const TSNode body = field(value, "body");
  return !ts_node_is_null(body) && source.raw(body) == name;
}

// "name = (event) => {}" and "static readonly LIMIT = 3" in a class, "name: (event) => {}" in an
// object.
void describe_member(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  const std::optional<std::string> name = key_name(found.name, source);
  const TSNode value = field(found.node, "value");
  if (!name || gives_name(value, *name, source)) return;
  const TSNode function = function_of(value, source);
  Declared declared{.kind = "method", .name = *name};
  if (!ts_node_is_null(function)) {
    declared.signature = function_signature(function, source);
  } else if (found.kind == "field") {
    const auto says = [&](std::string_view word) {
      return has_word_before(found.node, ts_node_start_byte(found.name), word, source);
    };
    if (!says("static") || (!says("readonly") && !is_in_capitals(*name))) return;
    declared.kind = "constant";
    declared.signature = constant_header(found.node, ts_node_end_byte(found.name), source);
  } else if (ts_node_is_null(value)) {
    declared.signature = header(found.node, ts_node_end_byte(found.name), source);
  } else {
    return;
  }
  // What the file exports is no type.
  if (!enclosing.empty() && enclosing.back().name.empty()) declared.kind = "function";
  if (declared.name == "constructor" && declared.kind == "method") declared.kind = "constructor";
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

// Whether nothing that has a name encloses a definition.
bool stands_alone(std::span<const Enclosing> enclosing) {
  return std::ranges::all_of(
      enclosing, [](const Enclosing& around) { return around.name.empty() && !around.global; });
}

void describe(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
              std::vector<Declared>& out) {
  if (found.kind == "variable") {
    describe_variable(found, enclosing, source, out);
  } else if (found.kind == "assigned") {
    describe_assigned(found, source, out);
  } else if (found.kind == "object") {
    describe_object(found, source, out);
  } else if (found.kind == "default") {
    std::optional<Declared> declared = describe_value(found.node, source);
    if (!declared) return;
    declared->name = name_of_export(found.node, source);
    out.push_back(std::move(*declared));
  } else if (found.kind == "method" || found.kind == "field") {
    describe_member(found, enclosing, source, out);
  } else if (found.kind == "module") {
    out.push_back(
        {.name = source.line(found.name), .global = true, .only = Enclosing::Role::scope});
  } else if (found.kind == "global") {
    out.push_back({.global = true, .only = Enclosing::Role::scope});
  } else {
    out.push_back(declared(std::string(found.kind), found, source));
  }
}

}  // namespace

void describe_script(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  if (!is_owned(found, enclosing)) return;
  const std::size_t first = out.size();
  describe(found, enclosing, source, out);
  // What is called as its file is, is not cited by both.
  const std::string module = script_module(source.path);
  if (module.empty() || !stands_alone(enclosing)) return;
  for (std::size_t i = first; i < out.size(); ++i) {
    const std::string& name = out[i].qualifier.empty() ? out[i].name : out[i].qualifier;
    if (name.substr(0, name.find('.')) == module) out[i].global = true;
  }
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
