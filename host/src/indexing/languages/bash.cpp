// Bash.

#include <algorithm>
#include <string>
#include <string_view>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_bash();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::bash};
constexpr std::string_view COMMENTS[] = {"#"};

// The flags of a declaration stand within so many bytes.
constexpr std::size_t LONGEST_FLAGS = 200;

// Whether a command declares constants: "readonly NAME=1", "declare -rx NAME=1".
bool declares_constants(std::string_view command) {
  constexpr std::string_view BLANKS = " \t";
  bool constant = command.starts_with("readonly");
  while (true) {
    command.remove_prefix(std::min(command.find_first_of(BLANKS), command.size()));
    command.remove_prefix(std::min(command.find_first_not_of(BLANKS), command.size()));
    if (!command.starts_with('-')) return constant;
    const std::string_view flags = command.substr(0, command.find_first_of(BLANKS));
    if (flags.find('f') != flags.npos) return false;  // a function
    if (flags.find('r') != flags.npos) constant = true;
  }
}

void describe_bash(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  if (found.kind == "function") {
    out.push_back({.kind = "function", .name = source.line(found.name), .signature = "()"});
  } else if (!enclosing.empty() &&
             declares_constants(source.text.substr(enclosing.back().range.start, LONGEST_FLAGS))) {
    out.push_back({.kind = "constant",
                   .name = source.line(found.name),
                   .signature = constant_header(found.node, ts_node_end_byte(found.name), source)});
  }
}

}  // namespace

constinit const Language languages::bash = {
    .name = "bash",
    .grammar = tree_sitter_bash,
    .queries = QUERIES,
    .separator = "",
    .line_comments = COMMENTS,
    .describe = describe_bash,
};

}  // namespace velmora::host::indexing
