// Haskell.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_haskell();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::haskell};
constexpr std::string_view COMMENTS[] = {"-- |", "-- ^", "--"};

// "(<+>)" and "`plus`" are the functions <+> and plus.
std::string function_name(TSNode node, const Source& source) {
  std::string name = source.line(node);
  const bool is_wrapped = name.size() > 2 && (name.starts_with('(') || name.starts_with('`'));
  return is_wrapped ? name.substr(1, name.size() - 2) : name;
}

// Whether a type takes something, behind what it is about and in which context.
bool is_function_type(TSNode type) {
  while (!ts_node_is_null(type)) {
    const std::string_view form = type_of(type);
    if (form == "function" || form == "linear_function") return true;
    if (form != "forall" && form != "context" && form != "parens") return false;
    type = field(type, "type");
  }
  return false;
}

// "total, sum :: [Account] -> Cents"
void describe_signature(const Found& found, std::span<const Enclosing> enclosing,
                        const Source& source, std::vector<Declared>& out) {
  const TSNode type = field(found.node, "type");
  const std::string kind = in_type(enclosing)       ? "method"
                           : is_function_type(type) ? "function"
                                                    : "constant";
  std::uint32_t from = ts_node_start_byte(found.node);
  std::vector<TSNode> names;
  if (!ts_node_is_null(found.name)) {
    names.push_back(found.name);
    from = ts_node_end_byte(found.name);
  } else {
    const TSNode list = field(found.node, "names");
    for (const Child& child : children(list)) {
      if (child.field == "name" && names.size() < MOST_DECLARATORS) names.push_back(child.node);
    }
    from = ts_node_end_byte(list);
  }
  for (const TSNode name : names) {
    out.push_back({.kind = kind,
                   .name = function_name(name, source),
                   .signature = ' ' + source.line(Range{from, ts_node_end_byte(found.node)}),
                   .clause = "="});
  }
}

// The first line of an equation, up to what it is equal to.
std::string equation(const Found& found, const Source& source) {
  const TSNode patterns = field(found.node, "patterns");
  return ts_node_is_null(patterns) ? std::string() : ' ' + source.line(patterns);
}

void describe_haskell(const Found& found, std::span<const Enclosing> enclosing,
                      const Source& source, std::vector<Declared>& out) {
  if (found.kind == "signature") {
    describe_signature(found, enclosing, source, out);
  } else if (found.kind == "function" || found.kind == "binding") {
    const bool takes_any = found.kind == "function";
    out.push_back({.kind = in_type(enclosing) ? "method"
                           : takes_any        ? "function"
                                              : "constant",
                   .name = function_name(found.name, source),
                   .signature = takes_any ? equation(found, source) : "",
                   .clause = "="});
  } else {
    Declared type{.kind = std::string(found.kind), .name = source.line(found.name)};
    const TSNode parameters = field(found.node, "patterns");
    if (!ts_node_is_null(parameters)) type.signature = ' ' + source.line(parameters);
    if (type_of(found.node) == "type_synomym") {
      type.signature = constant_header(found.node, ts_node_end_byte(found.name), source);
    }
    out.push_back(std::move(type));
  }
}

// The comment above "module Name where".
std::optional<ModuleDocstring> module_docstring(TSNode root, const Source& source,
                                                const Comments& comments) {
  for (const Child& child : children(root)) {
    if (type_of(child.node) != "header") continue;
    const TSNode name = field(child.node, "module");
    std::optional<std::string> text = comments.above(ts_node_start_byte(child.node));
    if (!text || ts_node_is_null(name)) return std::nullopt;
    return ModuleDocstring{range_of(child.node), std::move(*text), source.line(name)};
  }
  return std::nullopt;
}

}  // namespace

constinit const Language languages::haskell = {
    .name = "haskell",
    .grammar = tree_sitter_haskell,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = COMMENTS,
    .describe = describe_haskell,
    .module_docstring = module_docstring,
};

}  // namespace velmora::host::indexing
