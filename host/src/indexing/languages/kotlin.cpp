// Kotlin.
#include <algorithm>
#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/kotlin_syntax.h"
#include "indexing/languages.h"
#include "indexing/names.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_kotlin();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::kotlin};

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

// "<T>" of "fun <T> make(): T": in a signature it stands behind the name, as those of a class do.
std::string type_parameters_before(const Found& found, const Source& source) {
  for (const Child& child : children(found.node)) {
    if (ts_node_start_byte(child.node) >= ts_node_start_byte(found.name)) break;
    if (type_of(child.node) == "type_parameters") return source.line(child.node);
  }
  return {};
}

void describe_kotlin(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out) {
  if (found.kind == "property") {
    const std::uint32_t start = ts_node_start_byte(found.name);
    if (has_word_before(found.node, start, "const", source) ||
        (has_word_before(found.node, start, "val", source) &&
         is_in_capitals(source.raw(found.name)))) {
      out.push_back(declared("constant", found, source));
    }
    return;
  }
  const bool function = found.kind == "function" || found.kind == "computed";
  out.push_back(
      declared(function ? function_kind(enclosing) : std::string(found.kind), found, source));
  if (!function) return;
  out.back().qualifier = kotlin_receiver(found, source);
  out.back().signature.insert(0, type_parameters_before(found, source));
}

}  // namespace

constinit const Language languages::kotlin = {
    .name = "kotlin",
    .grammar = tree_sitter_kotlin,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_kotlin,
    .prepare = known_kotlin,
};

}  // namespace velmora::host::indexing
