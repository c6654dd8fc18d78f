#include "indexing/java_family.h"

#include <algorithm>

#include "indexing/declaration.h"

namespace velmora::host::indexing {

std::string callable_signature(TSNode node, std::uint32_t from, std::string_view result_field,
                               const Source& source) {
  std::string signature;
  if (const TSNode parameters = field(node, "parameters"); !ts_node_is_null(parameters)) {
    const std::uint32_t end = ts_node_end_byte(parameters);
    signature = source.line(Range{from, end});
    from = end;
  } else {
    signature = header(node, from, source);
    from = ts_node_end_byte(node);
  }
  if (const TSNode result = field(node, result_field); !ts_node_is_null(result)) {
    signature += " -> " + source.line(result);
  }
  return signature + header(node, from, source);
}

void describe_constants(TSNode declaration, const Source& source, std::vector<Declared>& out) {
  std::string type;
  if (const TSNode node = field(declaration, "type"); !ts_node_is_null(node)) {
    type = source.line(node);
  }
  for (const Child& child : children(declaration)) {
    if (out.size() == MOST_DECLARATORS) break;
    if (type_of(child.node) != "variable_declarator") continue;
    const TSNode name = field(child.node, "name");
    if (ts_node_is_null(name)) continue;
    out.push_back(
        {.kind = "constant",
         .name = source.line(name),
         .signature = ": " + type + constant_header(child.node, ts_node_end_byte(name), source)});
  }
}

bool has_modifier(TSNode node, std::string_view word, const Source& source) {
  return std::ranges::any_of(children(node), [&](const Child& child) {
    const std::string_view type = type_of(child.node);
    if (type == "modifiers") return has_modifier(child.node, word, source);
    return type == word || (type == "modifier" && source.raw(child.node) == word);
  });
}

}  // namespace velmora::host::indexing
