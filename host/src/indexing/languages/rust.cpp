// Rust.

#include <algorithm>
#include <iterator>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/doc_comment.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_rust();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::rust};

void describe_rust(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  Declared declared{.kind = std::string(found.kind), .name = source.line(found.name)};
  const std::uint32_t from = ts_node_end_byte(found.name);
  if (declared.name == "_") return;
  if (declared.kind == "function") declared.kind = function_kind(enclosing);
  // What an impl block says of its trait's types is no type of its own.
  if (declared.kind == "type" && in_type(enclosing)) return;
  if (declared.kind == "constant") {
    declared.signature = constant_header(found.node, from, source);
  } else if (declared.kind == "macro") {
    declared.signature = "!";
  } else {
    declared.signature = header(found.node, from, source);
  }
  out.push_back(std::move(declared));
}

// What the members of an impl block belong to, as they are cited: "Pool" of "&'a mut Pool<T>", of
// "dyn Pool + Send" and of "super::Pool".
std::string type_name(TSNode type, const Source& source) {
  constexpr std::pair<std::string_view, std::string_view> WITHIN[] = {{"reference_type", "type"},
                                                                      {"pointer_type", "type"},
                                                                      {"generic_type", "type"},
                                                                      {"dynamic_type", "trait"},
                                                                      {"bounded_type", ""}};
  for (bool plain = false; !plain;) {
    plain = true;
    for (const auto& [kind, inner] : WITHIN) {
      if (type_of(type) != kind) continue;
      const TSNode next = inner.empty() ? ts_node_named_child(type, 0) : field(type, inner);
      if (ts_node_is_null(next)) break;
      type = next;
      plain = false;
      break;
    }
  }
  std::string name = source.line(type);
  for (const std::string_view path : {"crate::", "self::", "super::"}) {
    while (name.starts_with(path)) name.erase(0, path.size());
  }
  return name;
}

// The module of a file: its crate, where the path tells it, and the folders and file below "src".
std::string module_of(std::string_view path) {
  std::string module;
  const auto add = [&](std::string_view part) {
    if (!module.empty()) module += "::";
    for (const char c : part) module += c == '-' ? '_' : c;
  };
  path = path.substr(0, path.rfind('.'));
  constexpr std::string_view SOURCES = "src/";
  std::size_t at = path.rfind("/src/");
  if (at != std::string_view::npos) {
    const std::string_view crate = path.substr(0, at);
    add(crate.substr(crate.rfind('/') + 1));
    path.remove_prefix(at + 1 + SOURCES.size());
  } else if (path.starts_with(SOURCES)) {
    path.remove_prefix(SOURCES.size());
  }
  while (!path.empty()) {
    at = std::min(path.find('/'), path.size());
    const std::string_view part = path.substr(0, at);
    const bool last = at == path.size();
    if (!last || (part != "mod" && part != "lib" && part != "main")) add(part);
    path.remove_prefix(last ? at : at + 1);
  }
  return module;
}

bool is_inner_comment(TSNode node, const Source& source) {
  const std::string_view text = source.raw(node);
  return text.starts_with("//!") || text.starts_with("/*!");
}

// The comments "//! ..." that a file begins with.
std::optional<ModuleDocstring> module_docstring(TSNode root, const Source& source,
                                                const Comments& /*comments*/) {
  constexpr std::string_view PREAMBLE[] = {"line_comment", "block_comment", "shebang",
                                           "inner_attribute_item", "attribute_item"};
  std::optional<Range> range;
  for (const Child& child : children(root)) {
    if (is_inner_comment(child.node, source)) {
      const Range next = range_of(child.node);
      range = Range{range ? range->start : next.start, next.end};
    } else if (range || std::ranges::find(PREAMBLE, type_of(child.node)) == std::end(PREAMBLE)) {
      break;
    }
  }
  if (!range) return std::nullopt;
  std::string text =
      comment_text(source.text.substr(range->start, range->end - range->start), SLASH_COMMENTS);
  if (text.empty()) return std::nullopt;
  std::string name = module_of(source.path);
  if (name.empty()) name = "crate";
  return ModuleDocstring{*range, std::move(text), std::move(name)};
}

}  // namespace

constinit const Language languages::rust = {
    .name = "rust",
    .grammar = tree_sitter_rust,
    .queries = QUERIES,
    .separator = "::",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_rust,
    .scope_name = type_name,
    .module = module_of,
    .module_docstring = module_docstring,
};

}  // namespace velmora::host::indexing
