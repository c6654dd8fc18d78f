// Julia.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/doc_comment.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_julia();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::julia};
constexpr std::string_view COMMENTS[] = {"#"};

TSNode first_named(TSNode node) { return ts_node_named_child(node, 0); }

// The call in "Base.show(io, a)::T where {T}", or a null node.
TSNode call_in(TSNode node) {
  constexpr std::array<std::string_view, 3> AROUND = {"signature", "where_expression",
                                                      "typed_expression"};
  while (!ts_node_is_null(node) && std::ranges::find(AROUND, type_of(node)) != AROUND.end()) {
    node = first_named(node);
  }
  return !ts_node_is_null(node) && type_of(node) == "call_expression" ? node : TSNode{};
}

// The name of a type in "Account{T} <: Shape", or of what is called in "(p::Account{T})(x)".
TSNode base_name(TSNode node) {
  constexpr std::array<std::string_view, 4> AROUND = {
      "type_head", "binary_expression", "parametrized_type_expression", "where_expression"};
  while (!ts_node_is_null(node)) {
    const std::string_view type = type_of(node);
    if (type == "typed_expression") {
      node = ts_node_named_child(node, ts_node_named_child_count(node) - 1);
    } else if (type == "parenthesized_expression" ||
               std::ranges::find(AROUND, type) != AROUND.end()) {
      node = first_named(node);
    } else {
      break;
    }
  }
  return node;
}

// The type or function named by `node`; nothing when that is put together by a macro.
std::optional<Declared> named(std::string kind, TSNode node, const Source& source) {
  node = base_name(node);
  if (ts_node_is_null(node)) return std::nullopt;
  const std::string_view type = type_of(node);
  if (type == "field_expression") {
    std::string text = source.line(node);
    const std::size_t stop = text.rfind('.');
    if (stop == std::string::npos) return std::nullopt;
    std::string name = text.substr(stop + 1);
    if (name.starts_with(':')) name.erase(0, 1);  // "Base.:+"
    if (name.starts_with('(') && name.ends_with(')')) name = name.substr(1, name.size() - 2);
    if (name.empty()) return std::nullopt;
    return Declared{
        .kind = std::move(kind), .qualifier = text.substr(0, stop), .name = std::move(name)};
  }
  if (type != "identifier" && type != "operator") return std::nullopt;
  return Declared{.kind = std::move(kind), .name = source.line(node)};
}

// "total(a::Account, b=1)::Int where {T}", or the name of a function that has no methods yet.
void describe_function(std::string kind, TSNode signature, std::span<const Enclosing> enclosing,
                       const Source& source, std::vector<Declared>& out) {
  const TSNode call = call_in(signature);
  const TSNode callee = ts_node_is_null(call) ? first_named(signature) : first_named(call);
  if (ts_node_is_null(callee)) return;
  std::optional<Declared> function = named(std::move(kind), callee, source);
  if (!function) return;
  if (in_type(enclosing)) function->kind = "constructor";
  function->signature = source.line(Range{ts_node_end_byte(callee), ts_node_end_byte(signature)});
  out.push_back(std::move(*function));
}

bool is_function(TSNode node) {
  const std::string_view type = type_of(node);
  return type == "arrow_function_expression" || type == "function_definition";
}

// "half(x) = x / 2", "half = x -> x / 2". Other variables may hold anything at any time.
void describe_assignment(const Found& found, std::span<const Enclosing> enclosing,
                         const Source& source, std::vector<Declared>& out) {
  if (!ts_node_is_null(call_in(found.name))) {
    describe_function("function", found.name, enclosing, source, out);
    if (!out.empty()) out.back().hides = true;
    return;
  }
  const TSNode value = ts_node_named_child(found.node, ts_node_named_child_count(found.node) - 1);
  if (type_of(found.name) != "identifier" || ts_node_is_null(value) || !is_function(value)) return;
  out.push_back({.kind = "function", .name = source.line(found.name)});
  const TSNode parameters = first_named(value);
  if (ts_node_is_null(parameters)) return;
  std::string text = source.line(parameters);
  if (!text.starts_with('(')) text = '(' + text + ')';
  out.back().signature = std::move(text);
}

// "@enum Side debit credit"
void describe_call(const Found& found, const Source& source, std::vector<Declared>& out) {
  if (source.raw(found.name) != "@enum") return;
  const TSNode arguments = ts_node_named_child(found.node, 1);
  if (ts_node_is_null(arguments)) return;
  TSNode name = first_named(arguments);
  if (!ts_node_is_null(name) && type_of(name) == "typed_expression") name = first_named(name);
  if (ts_node_is_null(name) || type_of(name) != "identifier") return;
  out.push_back({.kind = "enum", .name = source.line(name)});
}

void describe_julia(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  if (found.kind == "function" || found.kind == "macro") {
    describe_function(std::string(found.kind), found.name, enclosing, source, out);
  } else if (found.kind == "assignment") {
    describe_assignment(found, enclosing, source, out);
  } else if (found.kind == "call") {
    describe_call(found, source, out);
  } else if (found.kind == "constant") {
    if (type_of(found.name) != "identifier") return;
    out.push_back({.kind = "constant",
                   .name = source.line(found.name),
                   .signature = constant_header(found.node, ts_node_end_byte(found.name), source)});
  } else if (std::optional<Declared> type = named(std::string(found.kind), found.name, source)) {
    const TSNode name = base_name(found.name);
    type->signature = source.line(Range{ts_node_end_byte(name), ts_node_end_byte(found.name)});
    if (type->signature.starts_with('<')) type->signature.insert(0, 1, ' ');
    out.push_back(std::move(*type));
  }
}

// Behind the call that people begin a docstring with, as code.
std::string without_call(const std::string& text) {
  if (!text.starts_with("    ")) return text;
  const std::size_t blank = text.find("\n\n");
  if (blank == std::string::npos) return text;
  return text.substr(std::min(text.find_first_not_of('\n', blank), text.size()));
}

// A string in front of the module that is the file.
std::optional<ModuleDocstring> module_docstring(TSNode root, const Source& source,
                                                const Comments& /*comments*/) {
  TSNode string{};
  for (const Child& child : children(root)) {
    const std::string_view type = type_of(child.node);
    if (type == "module_definition" && !ts_node_is_null(string)) {
      std::string text = without_call(comment_text(source.raw(string), COMMENTS));
      const TSNode name = field(child.node, "name");
      if (text.empty() || ts_node_is_null(name)) return std::nullopt;
      return ModuleDocstring{range_of(string), std::move(text), source.line(name)};
    }
    if (type == "string_literal") {
      string = child.node;
    } else if (type != "line_comment" && type != "block_comment") {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

constinit const Language languages::julia = {
    .name = "julia",
    .grammar = tree_sitter_julia,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = COMMENTS,
    .describe = describe_julia,
    .module_docstring = module_docstring,
    .documentation = without_call,
};

}  // namespace velmora::host::indexing
