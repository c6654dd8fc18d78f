// Python.
#include <algorithm>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/doc_comment.h"
#include "indexing/languages.h"
#include "indexing/names.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_python();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::python};
constexpr std::string_view COMMENTS[] = {"#:", "#"};

// "MAX_SIZE", "_CACHE", and "X" too.
bool is_constant_name(std::string_view name) {
  return is_in_capitals(name) || (name.size() == 1 && name.front() >= 'A' && name.front() <= 'Z');
}

// The string that opens a module or a body, without its quotes, or null.
TSNode docstring_of(TSNode block) {
  for (const Child& statement : children(block)) {
    if (type_of(statement.node) == "comment") continue;
    if (type_of(statement.node) != "expression_statement") break;
    const TSNode string = ts_node_child(statement.node, 0);
    if (type_of(string) != "string") break;
    for (const Child& part : children(string)) {
      if (type_of(part.node) == "string_content") return part.node;
    }
    break;
  }
  return {};
}

std::optional<std::string> body_docstring(TSNode definition, const Source& source) {
  const TSNode body = field(definition, "body");
  if (ts_node_is_null(body)) return std::nullopt;
  const TSNode content = docstring_of(body);
  if (ts_node_is_null(content)) return std::nullopt;
  return docstring_text(source.raw(content));
}

// "[T]" of a function or class.
std::string type_parameters(TSNode node, const Source& source) {
  const TSNode list = field(node, "type_parameters");
  return ts_node_is_null(list) ? "" : source.line(list);
}

// "(limit=10)" of a function or lambda. The object that a method is called on is not among the
// arguments that its callers write.
std::string parameters(TSNode function, bool method, const Source& source) {
  const TSNode list = field(function, "parameters");
  if (ts_node_is_null(list)) return "()";
  std::vector<TSNode> parts;
  for (const Child& part : children(list)) parts.push_back(part.node);
  const bool bracketed = source.raw(parts.front()) == "(";  // a lambda's are not
  std::size_t first = bracketed ? 1 : 0;
  if (const std::string_view name = source.raw(parts[first]);
      method && (name == "self" || name == "cls")) {
    ++first;
    if (first < parts.size() && source.raw(parts[first]) == ",") ++first;
  }
  const std::uint32_t from =
      first < parts.size() ? ts_node_start_byte(parts[first]) : ts_node_end_byte(list);
  return '(' + source.line(Range{from, ts_node_end_byte(list)}) + (bracketed ? "" : ")");
}

std::string function_signature(TSNode node, bool method, const Source& source) {
  std::string signature = type_parameters(node, source) + parameters(node, method, source);
  if (const TSNode result = field(node, "return_type"); !ts_node_is_null(result)) {
    signature += " -> " + source.line(result);
  }
  return signature;
}

// "MAX_SIZE = 3", "limit: Final = 3", and "area = lambda w, h: w * h", which is a function.
void describe_variable(const Found& found, bool in_class, const Source& source,
                       std::vector<Declared>& out) {
  Declared variable{.kind = "constant", .name = source.line(found.name)};
  const TSNode value = field(found.node, "right");
  if (!ts_node_is_null(value) && type_of(value) == "lambda") {
    variable.kind = in_class ? "method" : "function";
    variable.signature = parameters(value, in_class, source);
    out.push_back(std::move(variable));
    return;
  }
  const TSNode type = field(found.node, "type");
  if (!ts_node_is_null(type)) variable.signature = ": " + source.line(type);
  if (!is_constant_name(variable.name) && !variable.signature.starts_with(": Final")) return;
  if (!ts_node_is_null(value) &&
      ts_node_end_byte(value) - ts_node_start_byte(value) <= LONGEST_VALUE) {
    variable.signature += " = " + source.line(value);
  }
  out.push_back(std::move(variable));
}

// Whether a definition stands in a function whose body the parser does not see as one: it loses
// count of blocks where lines in brackets are indented less than those around them.
bool is_in_torn_function(TSNode node) {
  TSNode around = ts_node_parent(node);
  if (type_of(around) == "decorated_definition") around = ts_node_parent(around);
  if (type_of(around) != "ERROR") return false;
  const TSNode torn = ts_node_parent(around);
  return !ts_node_is_null(torn) && type_of(torn) == "function_definition";
}

void describe_python(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  if (is_in_torn_function(found.node)) return;
  const bool in_class = in_type(enclosing);
  if (found.kind == "class") {
    const TSNode bases = field(found.node, "superclasses");
    out.push_back({.kind = "class",
                   .name = source.line(found.name),
                   .signature = type_parameters(found.node, source) +
                                (ts_node_is_null(bases) ? "" : source.line(bases)),
                   .docstring = body_docstring(found.node, source)});
  } else if (found.kind == "function") {
    const std::string name = source.line(found.name);
    const bool constructor = in_class && name == "__init__";
    out.push_back({.kind = constructor ? "constructor"
                           : in_class  ? "method"
                                       : "function",
                   .name = name,
                   .signature = function_signature(found.node, in_class, source),
                   .docstring = body_docstring(found.node, source)});
  } else if (found.kind == "variable") {
    describe_variable(found, in_class, source, out);
  } else if (found.kind == "type") {
    // "type Name[T] = value"
    const TSNode left = ts_node_named_child(found.node, 0);
    const std::string text =
        source.line(Range{ts_node_start_byte(left), ts_node_end_byte(found.node)});
    const std::size_t stop = std::min(text.find_first_of("[ ="), text.size());
    out.push_back({.kind = "type", .name = text.substr(0, stop), .signature = text.substr(stop)});
  }
}

// "a/b/__init__.py" is the module a.b, "a/b.py" too.
std::string module_of(std::string_view path) {
  std::string module(path.substr(0, path.rfind('.')));
  std::ranges::replace(module, '/', '.');
  constexpr std::string_view PACKAGE = "__init__";
  if (module.ends_with(PACKAGE)) {
    const std::size_t stop = module.size() - PACKAGE.size();
    if (stop > 0 && module[stop - 1] == '.') module.resize(stop - 1);
  }
  return module;
}

std::optional<ModuleDocstring> module_docstring(TSNode root, const Source& source,
                                                const Comments& /*comments*/) {
  const TSNode content = docstring_of(root);
  if (ts_node_is_null(content)) return std::nullopt;
  return ModuleDocstring{.range = range_of(content), .text = docstring_text(source.raw(content))};
}

}  // namespace

constinit const Language languages::python = {
    .name = "python",
    .grammar = tree_sitter_python,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = COMMENTS,
    .describe = describe_python,
    .module = module_of,
    .module_docstring = module_docstring,
};

}  // namespace velmora::host::indexing
