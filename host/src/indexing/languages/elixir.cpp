// Elixir. A module is a class to those who cite it.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/doc_comment.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_elixir();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::elixir};
constexpr std::string_view COMMENTS[] = {"#"};

// A child of the type, or a null node.
TSNode child_of_type(TSNode node, std::string_view type) {
  for (const Child& child : children(node)) {
    if (type_of(child.node) == type) return child.node;
  }
  return {};
}

TSNode first_argument(TSNode call) {
  const TSNode arguments = child_of_type(call, "arguments");
  return ts_node_is_null(arguments) ? TSNode{} : ts_node_named_child(arguments, 0);
}

// The attributes that define something, but for constants.
bool defines(std::string_view attribute) {
  constexpr std::array<std::string_view, 5> WORDS = {"type", "typep", "opaque", "callback",
                                                     "macrocallback"};
  return std::ranges::find(WORDS, attribute) != WORDS.end();
}

// An attribute, "@name value", or nothing of either.
struct Attribute {
  std::string_view name = {};
  TSNode call = {};
};

Attribute read_attribute(TSNode node, const Source& source) {
  if (type_of(node) != "unary_operator") return {};
  const TSNode call = field(node, "operand");
  if (ts_node_is_null(call) || type_of(call) != "call") return {};
  const TSNode target = field(call, "target");
  return ts_node_is_null(target) ? Attribute{} : Attribute{source.raw(target), call};
}

// The text of the string that an attribute like @doc holds.
std::optional<std::string> documentation(TSNode call, const Source& source) {
  const TSNode value = first_argument(call);
  if (ts_node_is_null(value)) return std::nullopt;
  const TSNode content = child_of_type(value, "quoted_content");
  if (ts_node_is_null(content)) return std::nullopt;
  // A part that is put in ends the first piece of a text.
  std::string text = docstring_text(source.raw(content));
  if (text.empty()) return std::nullopt;
  return text;
}

// What @doc or @typedoc says above a definition; other attributes may stand between.
std::optional<std::string> documentation_above(TSNode definition, std::string_view name,
                                               const Source& source) {
  constexpr int MOST = 8;
  TSNode before = ts_node_prev_named_sibling(definition);
  for (int i = 0; i < MOST && !ts_node_is_null(before); ++i) {
    const std::string_view type = type_of(before);
    if (type != "unary_operator" && type != "comment") return std::nullopt;
    const Attribute attribute = read_attribute(before, source);
    if (attribute.name == name) return documentation(attribute.call, source);
    if (defines(attribute.name)) return std::nullopt;
    before = ts_node_prev_named_sibling(before);
  }
  return std::nullopt;
}

// "defmodule Books.Ledger do", "defimpl Size, for: Map do", which is the module Size.Map.
void describe_module(const Found& found, std::string_view keyword, const Source& source,
                     std::vector<Declared>& out) {
  const TSNode first = first_argument(found.node);
  if (ts_node_is_null(first) || type_of(first) != "alias") return;
  std::string name = source.line(first);
  if (keyword == "defimpl") {
    const std::string arguments = source.line(child_of_type(found.node, "arguments"));
    constexpr std::string_view FOR = "for: ";
    const std::size_t at = arguments.find(FOR);
    if (at != std::string::npos) {
      const std::string type = arguments.substr(at + FOR.size());
      const std::size_t end = type.find_first_of(" ,[]{}()%");
      if (!type.substr(0, end).empty()) name += '.' + type.substr(0, end);
    }
  }
  const std::size_t stop = name.rfind('.');
  Declared module{.kind = keyword == "defprotocol" ? "interface" : "class", .name = name};
  if (stop != std::string::npos) {
    module.qualifier = name.substr(0, stop);
    module.name = name.substr(stop + 1);
  }
  const TSNode block = child_of_type(found.node, "do_block");
  if (!ts_node_is_null(block)) {
    for (const Child& child : children(block)) {
      const Attribute attribute = read_attribute(child.node, source);
      if (attribute.name != "moduledoc") continue;
      module.docstring = documentation(attribute.call, source);
      break;
    }
  }
  out.push_back(std::move(module));
}

// What a definition or a specification names: "add" of "add(ledger, cents)".
struct Head {
  std::string name;
  std::uint32_t name_end = 0;
  std::size_t arity = 0;
};

std::optional<Head> read_head(TSNode node, const Source& source) {
  if (ts_node_is_null(node)) return std::nullopt;
  const std::string_view type = type_of(node);
  if (type == "identifier") return Head{source.line(node), ts_node_end_byte(node), 0};
  if (type == "call") {
    const TSNode target = field(node, "target");
    if (ts_node_is_null(target) || type_of(target) != "identifier") return std::nullopt;
    Head head{source.line(target), ts_node_end_byte(target), 0};
    if (head.name == "unquote") return std::nullopt;
    const TSNode arguments = child_of_type(node, "arguments");
    if (!ts_node_is_null(arguments)) head.arity = ts_node_named_child_count(arguments);
    return head;
  }
  const TSNode operation = field(node, "operator");
  if (ts_node_is_null(operation)) return std::nullopt;
  const std::string_view word = source.raw(operation);
  if (word == "when" || word == "::" || word == "\\\\") {
    return read_head(field(node, "left"), source);
  }
  return Head{std::string(word), ts_node_start_byte(node),
              type == "unary_operator" ? std::size_t{1} : std::size_t{2}};
}

struct Keyword {
  std::string_view word;
  std::string_view kind;
};
constexpr std::array<Keyword, 9> FUNCTIONS = {{{"def", "function"},
                                               {"defp", "function"},
                                               {"defdelegate", "function"},
                                               {"defn", "function"},
                                               {"defnp", "function"},
                                               {"defmacro", "macro"},
                                               {"defmacrop", "macro"},
                                               {"defguard", "macro"},
                                               {"defguardp", "macro"}}};

void describe_function(const Found& found, std::string_view kind, const Source& source,
                       std::vector<Declared>& out) {
  const TSNode first = first_argument(found.node);
  const std::optional<Head> head = read_head(first, source);
  if (!head) return;
  std::string rest = source.line(Range{head->name_end, ts_node_end_byte(first)});
  if (!rest.empty() && !rest.starts_with('(')) rest.insert(0, 1, ' ');
  out.push_back({.kind = std::string(kind),
                 .name = head->name,
                 .signature = std::move(rest),
                 .docstring = documentation_above(found.node, "doc", source),
                 .clause = std::string(kind) + '/' + std::to_string(head->arity),
                 .hides = true});
}

// "@type t :: ...", "@callback total(t) :: integer", "@most_entries 64"
void describe_attribute(const Found& found, const Source& source, std::vector<Declared>& out) {
  constexpr std::array<std::string_view, 36> RESERVED = {"doc",
                                                         "moduledoc",
                                                         "typedoc",
                                                         "spec",
                                                         "impl",
                                                         "behaviour",
                                                         "derive",
                                                         "enforce_keys",
                                                         "dialyzer",
                                                         "before_compile",
                                                         "after_compile",
                                                         "after_verify",
                                                         "on_definition",
                                                         "on_load",
                                                         "compile",
                                                         "external_resource",
                                                         "deprecated",
                                                         "since",
                                                         "tag",
                                                         "moduletag",
                                                         "describetag",
                                                         "vsn",
                                                         "optional_callbacks",
                                                         "file",
                                                         "nifs",
                                                         "fallback_to_any",
                                                         "for",
                                                         "protocol",
                                                         "shortdoc",
                                                         "recursive",
                                                         "requirements",
                                                         "preferred_cli_env",
                                                         "primary_key",
                                                         "foreign_key_type",
                                                         "timestamps_opts",
                                                         "schema_prefix"};
  const std::string name = source.line(found.name);
  const TSNode call = field(found.node, "operand");
  const TSNode value = first_argument(call);
  if (ts_node_is_null(value)) return;
  if (defines(name)) {
    const bool is_type = !name.ends_with("callback");
    const std::optional<Head> head = read_head(value, source);
    if (!head) return;
    std::string rest = source.line(Range{head->name_end, ts_node_end_byte(value)});
    if (rest.size() > LONGEST_VALUE && is_type) rest.clear();
    if (rest.starts_with(':')) rest.insert(0, 1, ' ');
    out.push_back(
        {.kind = is_type              ? "type"
                 : name == "callback" ? "function"
                                      : "macro",
         .name = head->name,
         .signature = std::move(rest),
         .docstring = documentation_above(found.node, is_type ? "typedoc" : "doc", source),
         .hides = true});
    return;
  }
  if (std::ranges::find(RESERVED, name) != RESERVED.end()) return;
  std::string text = source.line(value);
  out.push_back({.kind = "constant",
                 .name = name,
                 .signature = text.size() > LONGEST_VALUE ? "" : ' ' + std::move(text),
                 .clause = "@",
                 .hides = true});
}

void describe_elixir(const Found& found, std::span<const Enclosing> /*enclosing*/,
                     const Source& source, std::vector<Declared>& out) {
  if (found.kind == "attribute") {
    describe_attribute(found, source, out);
    return;
  }
  const std::string_view word = source.raw(found.name);
  if (word == "defmodule" || word == "defprotocol" || word == "defimpl") {
    describe_module(found, word, source, out);
    return;
  }
  const auto* const function = std::ranges::find(FUNCTIONS, word, &Keyword::word);
  if (function != FUNCTIONS.end()) describe_function(found, function->kind, source, out);
}

}  // namespace

constinit const Language languages::elixir = {
    .name = "elixir",
    .grammar = tree_sitter_elixir,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = COMMENTS,
    .describe = describe_elixir,
};

}  // namespace velmora::host::indexing
