// Kotlin.
#include <algorithm>
#include <string>
#include <string_view>

#include "indexing/declaration.h"
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
  if (function) out.back().qualifier = kotlin_receiver(found, source);
}

// "Type by name {" opens the body of a class; the parser would take what is in the braces for an
// argument. Of a property that is what it is.
void blank_delegation(std::string& text) {
  constexpr std::string_view BY = " by ";
  constexpr std::size_t LONGEST_LINE = 200;  // of which more is looked at
  for (std::size_t at = 0; (at = text.find(BY, at)) != std::string::npos; at += BY.size()) {
    const std::size_t stop = text.find_first_not_of(
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.", at + BY.size());
    if (stop == std::string::npos || text.compare(stop, 2, " {") != 0) continue;
    const std::size_t start = at - std::min(at, LONGEST_LINE);
    std::string line = text.substr(start, at - start);
    line.erase(0, line.rfind('\n') + 1).insert(0, 1, ' ');
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    if (line.find(" val ") != std::string::npos || line.find(" var ") != std::string::npos)
      continue;
    text.replace(at, stop - at, stop - at, ' ');
  }
}

// "fun interface" without its "fun": the parser would take it for a function.
void blank_fun_interfaces(std::string& text) {
  constexpr std::string_view WORDS = "fun interface ";
  for (std::size_t at = 0; (at = text.find(WORDS, at)) != std::string::npos; at += WORDS.size()) {
    const bool starts_word =
        at == 0 || text[at - 1] == ' ' || text[at - 1] == '\n' || text[at - 1] == '\t';
    if (starts_word) text.replace(at, 3, 3, ' ');
  }
}

std::string blank_stumbling_blocks(std::string_view source) {
  std::string text(source);
  blank_delegation(text);
  blank_fun_interfaces(text);
  return text;
}

}  // namespace

constinit const Language languages::kotlin = {
    .name = "kotlin",
    .grammar = tree_sitter_kotlin,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_kotlin,
    .prepare = blank_stumbling_blocks,
};

}  // namespace velmora::host::indexing
