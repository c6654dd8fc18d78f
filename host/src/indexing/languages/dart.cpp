// Dart.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_dart();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::dart};

// What in a member, or the member itself, says how it is called; a null node when nothing does.
TSNode signature_in(TSNode member) {
  if (type_of(member).ends_with("_signature") && type_of(member) != "method_signature") {
    return member;
  }
  for (const Child& child : children(member)) {
    if (type_of(child.node).ends_with("_signature")) return child.node;
  }
  return {};
}

// "Account.fromJson(...)" is the constructor fromJson, "Account(...)" the constructor Account.
void describe_constructor(TSNode signature, const Source& source, std::vector<Declared>& out) {
  std::string name;
  std::uint32_t from = 0;
  for (const Child& child : children(signature)) {
    const std::string_view type = type_of(child.node);
    if (type == "formal_parameter_list") break;
    if (type != "identifier" && type != "qualified" && type != "new") continue;
    name = source.line(child.node);
    from = ts_node_end_byte(child.node);
  }
  if (name.empty()) return;
  out.push_back({.kind = "constructor",
                 .name = name.substr(name.rfind('.') + 1),
                 .signature = source.line(Range{from, ts_node_end_byte(signature)})});
}

// The type in front of a name, without the words that belong to the name.
std::string result_type(TSNode signature, std::uint32_t name, const Source& source) {
  std::string text = source.line(Range{ts_node_start_byte(signature), name});
  for (const std::string_view word : {"get", "set", "operator"}) {
    if (!text.ends_with(word)) continue;
    const std::size_t rest = text.size() - word.size();
    if (rest == 0 || text[rest - 1] == ' ') text.resize(rest);
  }
  text.resize(text.find_last_not_of(' ') + 1);
  return text;
}

void describe_function(TSNode signature, std::string kind, const Source& source,
                       std::vector<Declared>& out) {
  Declared function{.kind = std::move(kind)};
  Range name{};
  if (type_of(signature) == "operator_signature") {
    bool is_next = false;
    for (const Child& child : children(signature)) {
      if (is_next) {
        name = range_of(child.node);
        break;
      }
      is_next = type_of(child.node) == "operator";
    }
    function.name = "operator " + source.line(name);
  } else if (const TSNode node = field(signature, "name"); !ts_node_is_null(node)) {
    name = range_of(node);
    function.name = source.line(node);
  }
  if (name.end == 0) return;
  function.signature = source.line(Range{name.end, ts_node_end_byte(signature)});
  const std::string type = result_type(signature, name.start, source);
  if (!type.empty()) function.signature += " -> " + type;
  out.push_back(std::move(function));
}

// "a = 1, b = 2" of a declaration that says "const".
void describe_constants(TSNode list, const Source& source, std::vector<Declared>& out) {
  for (const Child& child : children(list)) {
    if (out.size() == MOST_DECLARATORS) break;
    if (type_of(child.node) != "static_final_declaration") continue;
    const TSNode name = ts_node_named_child(child.node, 0);
    if (ts_node_is_null(name)) continue;
    out.push_back({.kind = "constant",
                   .name = source.line(name),
                   .signature = constant_header(child.node, ts_node_end_byte(name), source)});
  }
}

void describe_member(TSNode member, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  const TSNode signature = signature_in(member);
  if (!ts_node_is_null(signature)) {
    if (type_of(signature).find("constructor") != std::string_view::npos) {
      describe_constructor(signature, source, out);
    } else {
      describe_function(signature, function_kind(enclosing), source, out);
    }
    return;
  }
  bool is_constant = false;
  for (const Child& child : children(member)) {
    const std::string_view type = type_of(child.node);
    if (type == "const_builtin") is_constant = true;
    if (type == "static_final_declaration_list" && is_constant) {
      describe_constants(child.node, source, out);
    }
  }
}

// "typedef Visitor = void Function(Entry)", "typedef int Compare(Entry a, Entry b)"
void describe_alias(TSNode alias, const Source& source, std::vector<Declared>& out) {
  TSNode name{};
  for (const Child& child : children(alias)) {
    const std::string_view type = type_of(child.node);
    if (type == "type_identifier") name = child.node;
    if (type == "=" || type == "type_parameters" || type == "formal_parameter_list") break;
  }
  if (ts_node_is_null(name)) return;
  out.push_back({.kind = "type",
                 .name = source.line(name),
                 .signature = header(alias, ts_node_end_byte(name), source)});
}

void describe_dart(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  if (found.kind == "member") {
    describe_member(found.node, enclosing, source, out);
  } else if (found.kind == "function") {
    describe_function(found.node, "function", source, out);
  } else if (found.kind == "constants") {
    describe_constants(found.last, source, out);
  } else if (found.kind == "type") {
    describe_alias(found.node, source, out);
  } else {
    out.push_back(declared(std::string(found.kind), found, source));
  }
}

// The comment above "library name;". A library without a name is named after its file.
std::optional<ModuleDocstring> module_docstring(TSNode root, const Source& source,
                                                const Comments& comments) {
  for (const Child& child : children(root)) {
    const std::string_view type = type_of(child.node);
    if (type == "comment" || type == "documentation_comment" || type == "annotation") continue;
    if (type != "library_name") return std::nullopt;
    std::optional<std::string> text = comments.above(ts_node_start_byte(child.node));
    if (!text) return std::nullopt;
    const TSNode name = ts_node_named_child(child.node, ts_node_named_child_count(child.node) - 1);
    std::string called = ts_node_is_null(name) ? std::string() : source.line(name);
    if (called.empty()) {
      called = source.path.substr(source.path.rfind('/') + 1);
      called.resize(std::min(called.rfind('.'), called.size()));
    }
    return ModuleDocstring{range_of(child.node), std::move(*text), std::move(called)};
  }
  return std::nullopt;
}

}  // namespace

constinit const Language languages::dart = {
    .name = "dart",
    .grammar = tree_sitter_dart,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_dart,
    .module_docstring = module_docstring,
};

}  // namespace velmora::host::indexing
