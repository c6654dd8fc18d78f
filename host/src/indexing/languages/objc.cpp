// Objective-C. A method is named by its selector: "initWithName:limit:".
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/c_family.h"
#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/names.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_objc();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::c, queries::objc};

// "(NSString *)" is the type "NSString *".
std::string type_in_brackets(TSNode node, const Source& source) {
  const Range range = range_of(node);
  if (range.end - range.start < 2) return {};
  return source.line(Range{range.start + 1, range.end - 1});
}

// What one part of a method takes: "NSString *name" of ":(NSString *)name".
std::string parameter(TSNode node, const Source& source) {
  std::string text;
  for (const Child& child : children(node)) {
    const std::string_view type = type_of(child.node);
    if (type == "method_type") text = type_in_brackets(child.node, source);
    if (type != "identifier") continue;
    if (!text.empty() && !text.ends_with('*')) text += ' ';
    text += source.line(child.node);
  }
  return text;
}

void describe_method(const Found& found, const Source& source, std::vector<Declared>& out) {
  Declared method{.kind = "method"};
  std::string parameters;
  std::string result;
  std::string part;  // of the selector, until it is known whether it takes something
  bool takes_any = false;
  for (const Child& child : children(found.node)) {
    const std::string_view type = type_of(child.node);
    if (type == "method_type" && method.name.empty()) {
      result = type_in_brackets(child.node, source);
    } else if (type == "identifier") {
      if (!takes_any && part.empty()) method.name = source.line(child.node);
      part = source.line(child.node);
    } else if (type == "method_parameter") {
      if (takes_any) method.name += part;
      method.name += ':';
      parameters += (parameters.empty() ? "" : ", ") + parameter(child.node, source);
      takes_any = true;
      part.clear();
    } else if (type == "compound_statement") {
      break;
    } else if (source.raw(child.node) == "...") {
      parameters += ", ...";
    }
  }
  if (method.name.empty()) return;
  method.signature = '(' + parameters + ')';
  if (!result.empty()) method.signature += " -> " + result;
  out.push_back(std::move(method));
}

// "NSString *const Name = ...": what is constant is the pointer.
void describe_constant_pointer(const Found& found, const Source& source,
                               std::vector<Declared>& out) {
  const TSNode type = field(found.node, "type");
  TSNode declarator = field(found.node, "declarator");
  if (ts_node_is_null(type) || ts_node_is_null(declarator)) return;
  TSNode value{};
  if (type_of(declarator) == "init_declarator") {
    value = field(declarator, "value");
    declarator = field(declarator, "declarator");
  }
  if (ts_node_is_null(declarator) || type_of(declarator) != "pointer_declarator") return;
  const TSNode name = field(declarator, "declarator");
  if (ts_node_is_null(name) || type_of(name) != "identifier") return;
  if (!has_word_before(declarator, ts_node_start_byte(name), "const", source) &&
      !source.line(declarator).starts_with("*const ")) {
    return;
  }
  Declared constant{.kind = "constant",
                    .name = source.line(name),
                    .signature = ": " + source.line(type) + " *const"};
  if (!ts_node_is_null(value) &&
      ts_node_end_byte(value) - ts_node_start_byte(value) <= LONGEST_VALUE) {
    constant.signature += " = " + source.line(value);
  }
  out.push_back(std::move(constant));
}

// A class or protocol: everything between its name and its variables or methods.
void describe_class(const Found& found, const Source& source, std::vector<Declared>& out) {
  constexpr std::array<std::string_view, 5> HEADER = {
      ":", "identifier", "parameterized_arguments", "protocol_reference_list", "generic_arguments"};
  const std::uint32_t from = ts_node_end_byte(found.name);
  std::uint32_t end = from;
  for (const Child& child : children(found.node)) {
    if (ts_node_start_byte(child.node) < from) continue;
    const std::string_view type = type_of(child.node);
    if (type == "(") return;  // a category
    if (std::ranges::find(HEADER, type) == HEADER.end()) break;
    end = ts_node_end_byte(child.node);
  }
  std::string rest = source.line(Range{from, end});
  if (!rest.empty() && !rest.starts_with('<')) rest.insert(0, 1, ' ');
  out.push_back({.kind = std::string(found.kind),
                 .name = source.line(found.name),
                 .signature = std::move(rest)});
}

void describe_objc(const Found& found, std::span<const Enclosing> /*enclosing*/,
                   const Source& source, std::vector<Declared>& out) {
  if (found.kind == "method") {
    describe_method(found, source, out);
  } else if (found.kind == "class" || found.kind == "interface") {
    describe_class(found, source, out);
  } else {
    // Functions of C may stand among methods, and belong to no class there.
    describe_c_family(found, {}, source, out);
    for (Declared& one : out) one.outside_types = true;
    if (found.kind == "declaration" && out.empty()) {
      describe_constant_pointer(found, source, out);
    }
  }
}

bool is_word(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// The end of the brackets that open at `at`, or `at` when they do not close soon.
std::size_t behind_brackets(std::string_view text, std::size_t at) {
  constexpr std::size_t LONGEST = 200;
  int depth = 0;
  for (std::size_t i = at; i < std::min(text.size(), at + LONGEST); ++i) {
    if (text[i] == '(') ++depth;
    if (text[i] == ')' && --depth == 0) return i + 1;
  }
  return at;
}

// What the parser is to see of "NS_ENUM(NSInteger, Side)" is "enum Side". Other macros of the
// frameworks only annotate what stands beside them.
void replace_macro(std::string& text, std::size_t start, std::size_t end) {
  const std::string_view name = std::string_view(text).substr(start, end - start);
  const bool is_enum = name.ends_with("_ENUM") || name.ends_with("_OPTIONS");
  const std::size_t open = text.find_first_not_of(" \t", end);
  const std::size_t stop =
      open != std::string::npos && text[open] == '(' ? behind_brackets(text, open) : end;
  if (!is_enum) {
    for (std::size_t i = start; i < std::max(stop, end); ++i) {
      if (text[i] != '\n') text[i] = ' ';
    }
    return;
  }
  const std::size_t comma = text.find(',', end);
  if (stop <= end || comma == std::string::npos || comma >= stop) return;
  for (std::size_t i = start; i <= comma; ++i) {
    if (text[i] != '\n') text[i] = ' ';
  }
  text.replace(start, 4, "enum");
  text[stop - 1] = ' ';
}

std::string blank_annotations(std::string_view source) {
  constexpr std::array<std::string_view, 5> PREFIXES = {"NS_", "CF_", "API_", "UI_", "IB_"};
  constexpr std::array<std::string_view, 3> ENDINGS = {"_EXPORT", "_EXTERN", "_INLINE"};
  std::string text(source);
  for (std::size_t at = 0; at < text.size();) {
    if (!is_word(text[at])) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < text.size() && is_word(text[end])) ++end;
    const std::string_view word = std::string_view(text).substr(at, end - at);
    // A framework's own macro in front of a class, or two: "SHOP_EXPORT SHOP_ROOT @interface
    // Ledger".
    std::size_t next = text.find_first_not_of(" \t\r\n", end);
    std::size_t next_end = next;
    while (next_end < text.size() && is_word(text[next_end])) ++next_end;
    if (next_end > next && is_in_capitals(std::string_view(text).substr(next, next_end - next))) {
      next = text.find_first_not_of(" \t\r\n", next_end);
    }
    const bool is_in_front = next != std::string::npos && text[next] == '@';
    const bool opens_line = at == 0 || text[at - 1] == '\n';
    const bool is_macro =
        is_in_capitals(word) &&
        (is_in_front ||
         std::ranges::any_of(PREFIXES,
                             [&](std::string_view prefix) { return word.starts_with(prefix); }) ||
         (opens_line && std::ranges::any_of(ENDINGS, [&](std::string_view ending) {
            return word.ends_with(ending);
          })));
    if (is_macro) replace_macro(text, at, end);
    at = end;
  }
  return text;
}

}  // namespace

constinit const Language languages::objc = {
    .name = "objc",
    .grammar = tree_sitter_objc,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_objc,
    .prepare = blank_annotations,
    .flat_functions = true,
};

}  // namespace velmora::host::indexing
