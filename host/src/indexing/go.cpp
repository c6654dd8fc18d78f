#include "indexing/go.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "indexing/declaration.h"

namespace velmora::host::indexing {
namespace {

// "(r *Store[T])" is a method of Store.
std::string receiver_type(TSNode receiver, const Source& source) {
  std::string text = source.line(receiver);
  text.resize(std::min(text.find('['), text.size()));
  text.resize(text.find_last_not_of(" )") + 1);
  return text.substr(text.find_last_of(" *(.") + 1);
}

// "const a, b = 1, 2" declares two.
void describe_constants(TSNode node, const Source& source, std::vector<Declared>& out) {
  std::vector<TSNode> names;
  for (const Child& child : children(node)) {
    if (child.field == "name" && ts_node_is_named(child.node)) names.push_back(child.node);
  }
  for (const TSNode name : names) {
    out.push_back({.kind = "constant",
                   .name = source.line(name),
                   .signature = names.size() == 1
                                    ? constant_header(node, ts_node_end_byte(name), source)
                                    : ""});
  }
  std::erase_if(out, [](const Declared& constant) { return constant.name == "_"; });
}

}  // namespace

void describe_go(const Found& found, std::span<const Enclosing> /*enclosing*/, const Source& source,
                 std::vector<Declared>& out) {
  if (found.kind == "constant") {
    describe_constants(found.node, source, out);
    return;
  }
  Declared declared{.kind = std::string(found.kind), .name = source.line(found.name)};
  if (declared.name == "_") return;
  if (found.kind == "struct" || found.kind == "interface") {
    const TSNode parameters = field(found.node, "type_parameters");
    if (!ts_node_is_null(parameters)) declared.signature = source.line(parameters);
  } else {
    declared.signature = header(found.node, ts_node_end_byte(found.name), source);
  }
  if (const TSNode receiver = field(found.node, "receiver"); !ts_node_is_null(receiver)) {
    declared.qualifier = receiver_type(receiver, source);
  }
  out.push_back(std::move(declared));
}

std::string without_directives(const std::string& comment) {
  std::string kept;
  for (std::size_t at = 0; at < comment.size();) {
    const std::size_t stop = std::min(comment.find('\n', at), comment.size());
    const std::string_view line = std::string_view(comment).substr(at, stop - at);
    if (!line.starts_with("go:") && !line.starts_with("nolint")) {
      if (!kept.empty()) kept += '\n';
      kept += line;
    }
    at = stop + 1;
  }
  kept.resize(kept.find_last_not_of('\n') + 1);
  return kept;
}

}  // namespace velmora::host::indexing
