#include "indexing/declaration.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velmora::host::indexing {
namespace {

bool is_body(const Child& child) {
  constexpr std::array<std::string_view, 10> BODIES = {"class_body",
                                                       "enum_class_body",
                                                       "function_body",
                                                       "computed_property",
                                                       "protocol_property_requirements",
                                                       "getter",
                                                       "arrow_expression_clause",
                                                       "constructor_initializer",
                                                       "constructor_delegation_call",
                                                       "{"};
  return child.field == "body" || child.field == "accessors" ||
         std::ranges::find(BODIES, type_of(child.node)) != BODIES.end();
}

}  // namespace

std::string header(TSNode definition, std::uint32_t from, const Source& source) {
  std::uint32_t end = ts_node_end_byte(definition);
  for (const Child& child : children(definition)) {
    const std::uint32_t start = ts_node_start_byte(child.node);
    if (start < from || !is_body(child)) continue;
    end = start;
    break;
  }
  std::string text = source.line(Range{from, end});
  text.resize(text.find_last_not_of(" =:;,") + 1);
  if (text.empty()) return text;
  const char before = source.text[from];
  const bool blank = before == ' ' || before == '\t' || before == '\n' || before == '\r';
  constexpr std::string_view OPENING = "([<";
  return blank && OPENING.find(text.front()) == std::string_view::npos ? ' ' + text : text;
}

std::string constant_header(TSNode definition, std::uint32_t from, const Source& source) {
  std::string text = header(definition, from, source);
  if (text.size() > LONGEST_VALUE) text.resize(std::min(text.find(" = "), text.size()));
  return text;
}

Declared declared(std::string kind, const Found& found, const Source& source) {
  const std::uint32_t from = ts_node_end_byte(found.name);
  std::string signature = kind == "constant" ? constant_header(found.node, from, source)
                                             : header(found.node, from, source);
  return {
      .kind = std::move(kind), .name = source.line(found.name), .signature = std::move(signature)};
}

bool has_word_before(TSNode definition, std::uint32_t end, std::string_view word,
                     const Source& source) {
  const std::string padded = ' ' + source.line(Range{ts_node_start_byte(definition), end}) + ' ';
  return padded.find(' ' + std::string(word) + ' ') != std::string::npos;
}

bool in_type(std::span<const Enclosing> enclosing) {
  return std::ranges::any_of(
      enclosing, [](const Enclosing& around) { return around.role == Enclosing::Role::type; });
}

std::string function_kind(std::span<const Enclosing> enclosing) {
  return in_type(enclosing) ? "method" : "function";
}

}  // namespace velmora::host::indexing
