#include "indexing/kotlin_family.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/c_macros.h"
#include "indexing/declaration.h"

namespace velmora::host::indexing {
namespace {

Declared declared(std::string kind, const Found& found, const Source& source) {
  const std::uint32_t from = ts_node_end_byte(found.name);
  std::string signature = kind == "constant" ? constant_header(found.node, from, source)
                                             : header(found.node, from, source);
  return {
      .kind = std::move(kind), .name = source.line(found.name), .signature = std::move(signature)};
}

// The type that an extension function belongs to, without its arguments: "List" of
// "fun <T> List<T>.second()". Empty for other functions.
std::string kotlin_receiver(const Found& found, const Source& source) {
  for (const Child& child : children(found.node)) {
    const std::string_view type = type_of(child.node);
    if (ts_node_start_byte(child.node) >= ts_node_start_byte(found.name)) break;
    if (type != "user_type" && type != "nullable_type") continue;
    std::string receiver = source.line(child.node);
    receiver.resize(std::min(receiver.find_first_of("<?"), receiver.size()));
    return receiver;
  }
  return {};
}

}  // namespace

void describe_kotlin(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  if (found.kind == "property") {
    const std::uint32_t start = ts_node_start_byte(found.name);
    if (has_word_before(found.node, start, "const", source) ||
        (has_word_before(found.node, start, "val", source) &&
         is_macro_name(source.raw(found.name)))) {
      out.push_back(declared("constant", found, source));
    }
    return;
  }
  const bool function = found.kind == "function" || found.kind == "computed";
  out.push_back(
      declared(function ? function_kind(enclosing) : std::string(found.kind), found, source));
  if (function) out.back().qualifier = kotlin_receiver(found, source);
}

void describe_scala(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  const std::string_view name = source.raw(found.name);
  if (found.kind == "constant") {
    if (name.empty() || name.front() < 'A' || name.front() > 'Z') return;
    out.push_back(declared("constant", found, source));
  } else if (found.kind == "function") {
    out.push_back(
        declared(name == "this" ? "constructor" : function_kind(enclosing), found, source));
  } else {
    out.push_back(declared(std::string(found.kind), found, source));
  }
}

void describe_swift(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  if (found.kind == "property") {
    const std::uint32_t start = ts_node_start_byte(found.name);
    if (!ts_node_is_null(field(found.node, "computed_value"))) {
      out.push_back(declared(function_kind(enclosing), found, source));
    } else if (has_word_before(found.node, start, "let", source) &&
               (!in_type(enclosing) || has_word_before(found.node, start, "static", source))) {
      out.push_back(declared("constant", found, source));
    }
  } else {
    out.push_back(
        declared(found.kind == "function" ? function_kind(enclosing) : std::string(found.kind),
                 found, source));
  }
}

std::string blank_fun_interfaces(std::string_view source) {
  std::string text(source);
  constexpr std::string_view WORDS = "fun interface ";
  for (std::size_t at = 0; (at = text.find(WORDS, at)) != std::string::npos; at += WORDS.size()) {
    const bool starts_word =
        at == 0 || text[at - 1] == ' ' || text[at - 1] == '\n' || text[at - 1] == '\t';
    if (starts_word) text.replace(at, 3, 3, ' ');
  }
  return text;
}

}  // namespace velmora::host::indexing
