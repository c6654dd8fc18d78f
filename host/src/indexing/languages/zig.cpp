// Zig.
#include <optional>
#include <string>
#include <string_view>

#include "indexing/comments.h"
#include "indexing/declaration.h"
#include "indexing/doc_comment.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_zig();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::zig};

// The kind of what a container declares, empty for other values.
std::string container_kind(std::string_view type) {
  if (type == "struct_declaration" || type == "opaque_declaration") return "struct";
  if (type == "union_declaration") return "union";
  if (type == "enum_declaration" || type == "error_set_declaration") return "enum";
  return {};
}

// "const list = std.list;", "const std = @import("std");": another name for something that is
// defined elsewhere.
bool is_alias(TSNode value, std::string_view name, const Source& source) {
  const std::string_view type = type_of(value);
  const std::string_view text = source.raw(value);
  if (type == "identifier") return true;
  if (type == "field_expression")
    return text.substr(text.rfind('.') + 1) == name || text.starts_with("@import");
  return text.starts_with("@import(") || text.starts_with("@This(");
}

void describe_variable(const Found& found, const Source& source, std::vector<Declared>& out) {
  TSNode value{};
  TSNode before{};  // what stands in front of the value
  bool is_constant = false;
  for (const Child& child : children(found.node)) {
    if (type_of(child.node) == "const") is_constant = true;
    if (!ts_node_is_named(child.node)) {
      before = child.node;
    } else if (!ts_node_is_null(before) && type_of(before) == "=") {
      value = child.node;
    }
  }
  if (!is_constant || ts_node_is_null(value)) return;
  Declared declared{.kind = container_kind(type_of(value)), .name = source.line(found.name)};
  if (declared.kind.empty()) {
    if (is_alias(value, declared.name, source)) return;
    declared.kind = "constant";
    declared.signature = constant_header(found.node, ts_node_end_byte(found.name), source);
  }
  out.push_back(std::move(declared));
}

void describe_zig(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                  std::vector<Declared>& out) {
  if (found.kind == "variable") {
    describe_variable(found, source, out);
    return;
  }
  out.push_back(declared(function_kind(enclosing), found, source));
}

// The comments "//! ..." that a file begins with; a file is a struct that is named after it.
std::optional<ModuleDocstring> module_docstring(TSNode root, const Source& source,
                                                const Comments& /*comments*/) {
  std::optional<Range> range;
  for (const Child& child : children(root)) {
    if (!source.raw(child.node).starts_with("//!")) break;
    const Range next = range_of(child.node);
    range = Range{range ? range->start : next.start, next.end};
  }
  if (!range) return std::nullopt;
  std::string text =
      comment_text(source.text.substr(range->start, range->end - range->start), SLASH_COMMENTS);
  std::string_view name = source.path.substr(source.path.rfind('/') + 1);
  name = name.substr(0, name.rfind('.'));
  if (text.empty() || name.empty()) return std::nullopt;
  return ModuleDocstring{*range, std::move(text), std::string(name)};
}

}  // namespace

constinit const Language languages::zig = {
    .name = "zig",
    .grammar = tree_sitter_zig,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_zig,
    .module_docstring = module_docstring,
};

}  // namespace velmora::host::indexing
