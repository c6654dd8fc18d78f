// Scala.
#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_scala();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::scala};

// What the compiler calls a given that the source does not name: "given_Ord_Int" of "Ord[Int]".
std::string given_name(TSNode type, const Source& source) {
  std::string name = "given";
  bool between = true;
  for (const char c : source.line(type)) {
    constexpr std::string_view PUNCTUATION = " []().,:&|=><?*+-{}@#\"'";
    const bool punctuation = PUNCTUATION.find(c) != PUNCTUATION.npos;
    if (!punctuation && between) name += '_';
    if (!punctuation) name += c;
    between = punctuation;
  }
  return name;
}

// A given with members is a class, as an object is; any other one a value.
void describe_given(const Found& found, const Source& source, std::vector<Declared>& out) {
  const TSNode body = field(found.node, "body");
  const TSNode type = field(found.node, "return_type");
  if (ts_node_is_null(type)) return;
  const TSNode name = field(found.node, "name");
  const bool members = !ts_node_is_null(body) && type_of(body) == "with_template_body";
  Declared given{.kind = members ? "class" : "constant"};
  if (ts_node_is_null(name)) {
    given.name = given_name(type, source);
    given.signature = ": " + source.line(type);
  } else {
    given.name = source.line(name);
    given.signature = source.line(Range{ts_node_end_byte(name), ts_node_end_byte(type)});
  }
  out.push_back(std::move(given));
}

// "given a: A with {" at the end of a line opens what the parser knows by its indentation alone:
// the braces become blanks.
std::string blank_braces_of_givens(std::string_view source) {
  constexpr std::string_view OPENING = " with {\n";
  constexpr std::size_t LONGEST_HEADER = 200;  // in bytes, on one line
  constexpr std::size_t LONGEST_BODY = 10'000;
  std::string text(source);
  for (std::size_t at = 0; (at = text.find(OPENING, at)) != std::string::npos;) {
    const std::size_t start = at - std::min(at, LONGEST_HEADER);
    std::string_view header = std::string_view(text).substr(start, at - start);
    header.remove_prefix(header.rfind('\n') + 1);  // npos + 1 is 0
    header.remove_prefix(std::min(header.find_first_not_of(" \t"), header.size()));
    at += OPENING.size();
    if (!header.starts_with("given ") && !header.starts_with("inline given ")) continue;
    std::size_t close = at;
    int depth = 1;
    for (const std::size_t stop = std::min(text.size(), at + LONGEST_BODY); close < stop; ++close) {
      if (text[close] == '{') ++depth;
      if (text[close] == '}' && --depth == 0) break;
    }
    if (depth != 0) continue;
    text[at - 2] = ' ';
    text[close] = ' ';
  }
  return text;
}

void describe_scala(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  if (found.kind == "given") {
    describe_given(found, source, out);
    return;
  }
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

}  // namespace

constinit const Language languages::scala = {
    .name = "scala",
    .grammar = tree_sitter_scala,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_scala,
    .prepare = blank_braces_of_givens,
};

}  // namespace velmora::host::indexing
