// C#.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/java_family.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_c_sharp();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view QUERIES[] = {queries::csharp};

// Whether a property has code of its own, and is more than a field.
bool is_computed(TSNode property) {
  const TSNode value = field(property, "value");
  if (!ts_node_is_null(value) && type_of(value) == "arrow_expression_clause") return true;
  const TSNode accessors = field(property, "accessors");
  if (ts_node_is_null(accessors)) return false;
  return std::ranges::any_of(children(accessors), [](const Child& accessor) {
    return !ts_node_is_null(field(accessor.node, "body"));
  });
}

// "event Handler A, B;" declares two. They are called as methods are.
void describe_events(TSNode node, const Source& source, std::vector<Declared>& out) {
  for (const Child& child : children(node)) {
    if (type_of(child.node) == "variable_declaration") describe_constants(child.node, source, out);
  }
  for (Declared& event : out) event.kind = "method";
}

// "IReader" of "void IReader<T>.Close()": the class may have a Close of its own.
std::string explicit_interface(TSNode node, const Source& source) {
  for (const Child& child : children(node)) {
    if (type_of(child.node) != "explicit_interface_specifier") continue;
    std::string name = source.line(ts_node_named_child(child.node, 0));
    name.resize(std::min(name.find('<'), name.size()));
    return name;
  }
  return {};
}

void describe_csharp(const Found& found, std::span<const Enclosing> /*enclosing*/,
                     const Source& source, std::vector<Declared>& out) {
  const TSNode node = found.node;
  if (found.kind == "constant") {
    const bool constant = has_modifier(node, "const", source);
    if (!constant &&
        !(has_modifier(node, "static", source) && has_modifier(node, "readonly", source))) {
      return;
    }
    for (const Child& child : children(node)) {
      if (type_of(child.node) == "variable_declaration") {
        describe_constants(child.node, source, out);
      }
    }
    std::erase_if(out, [&](const Declared& one) {
      return !constant && (one.name.empty() || one.name.front() < 'A' || one.name.front() > 'Z');
    });
    return;
  }
  if (found.kind == "events") {
    describe_events(node, source, out);
    return;
  }
  std::string name = source.line(found.name);
  const std::uint32_t from = ts_node_end_byte(found.name);
  if (found.kind == "property" || found.kind == "event") {
    if (found.kind == "property" && !is_computed(node)) return;
    out.push_back({.kind = "method",
                   .name = std::move(name),
                   .signature = ": " + source.line(field(node, "type"))});
  } else if (found.kind == "operator" || found.kind == "conversion") {
    out.push_back({.kind = "method",
                   .name = "operator " + name,
                   .signature = callable_signature(
                       node, from, found.kind == "operator" ? "type" : "", source)});
  } else if (found.kind == "method" || found.kind == "function" || found.kind == "constructor" ||
             found.kind == "type") {
    const std::string_view result = type_of(node) == "method_declaration" ? "returns" : "type";
    if (type_of(node) == "destructor_declaration") name.insert(0, 1, '~');
    out.push_back({.kind = std::string(found.kind),
                   .name = std::move(name),
                   .signature = callable_signature(node, from, result, source)});
  } else {
    out.push_back({.kind = std::string(found.kind),
                   .name = std::move(name),
                   .signature = header(node, from, source)});
  }
  out.back().qualifier = explicit_interface(node, source);
}

bool opens_tag(std::string_view text) {
  return text.size() > 1 && text[0] == '<' &&
         (text[1] == '/' || (text[1] >= 'a' && text[1] <= 'z'));
}

// Without tags; of an empty tag, what it refers to stays.
std::string without_tags(std::string_view comment) {
  const std::size_t last_close = comment.rfind('>');
  if (last_close == comment.npos) return std::string(comment);
  std::string text;
  for (std::size_t i = 0; i < comment.size();) {
    if (i > last_close || !opens_tag(comment.substr(i))) {
      text += comment[i++];
      continue;
    }
    const std::string_view tag = comment.substr(i, comment.find('>', i) - i);
    if (const std::size_t open = tag.find('"'); tag.ends_with('/') && open != tag.npos) {
      text += tag.substr(open + 1, tag.find('"', open + 1) - open - 1);
    }
    i += tag.size() + 1;
  }
  return text;
}

std::string with_entities_decoded(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, char>, 3> ENTITIES = {
      {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}}};
  std::string decoded;
  while (!text.empty()) {
    const auto entity = std::ranges::find_if(
        ENTITIES, [&](const auto& one) { return text.starts_with(one.first); });
    const bool found = entity != ENTITIES.end();
    decoded += found ? entity->second : text.front();
    text.remove_prefix(found ? entity->first.size() : 1);
  }
  return decoded;
}

// The text of an XML comment.
std::string xml_text(const std::string& comment) {
  const std::string text = with_entities_decoded(without_tags(comment));
  // Tags that stood alone leave blank lines.
  std::string lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t stop = std::min(text.find('\n', at), text.size());
    const std::string_view line = std::string_view(text).substr(at, stop - at);
    if (line.find_first_not_of(" \t\r") != std::string_view::npos) {
      if (!lines.empty()) lines += '\n';
      lines += line;
    }
    at = stop + 1;
  }
  return lines;
}

}  // namespace

constinit const Language languages::csharp = {
    .name = "csharp",
    .grammar = tree_sitter_c_sharp,
    .queries = QUERIES,
    .separator = ".",
    .line_comments = SLASH_COMMENTS,
    .describe = describe_csharp,
    .documentation = xml_text,
};

}  // namespace velmora::host::indexing
