// OCaml.
#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/languages.h"
#include "indexing/queries.h"

extern "C" const TSLanguage* tree_sitter_ocaml();
extern "C" const TSLanguage* tree_sitter_ocaml_interface();

namespace velmora::host::indexing {
namespace {

constexpr std::string_view INTERFACE_QUERIES[] = {queries::ocaml};
constexpr std::string_view SOURCE_QUERIES[] = {queries::ocaml, queries::ocaml_sources};
constexpr std::string_view NO_LINE_COMMENTS[] = {"(*"};

// "( <+> )" is the operator <+>.
std::string value_name(TSNode node, const Source& source) {
  std::string name = source.line(node);
  if (name.starts_with('(') && name.ends_with(')')) name = name.substr(1, name.size() - 2);
  const std::size_t first = name.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return name.substr(first, name.find_last_not_of(' ') + 1 - first);
}

// "let rec total ?(start = 0) xs : cents = ...". What takes nothing by its form is a constant.
void describe_binding(const Found& found, const Source& source, std::vector<Declared>& out) {
  bool is_function = false;
  for (const Child& child : children(found.node)) {
    const std::string_view type = type_of(child.node);
    if (type == "parameter" || type == "fun_expression" || type == "function_expression") {
      is_function = true;
    }
  }
  Declared binding{.kind = is_function ? "function" : "constant",
                   .name = value_name(found.name, source)};
  const std::uint32_t from = ts_node_end_byte(found.name);
  if (is_function) {
    binding.signature = header(found.node, from, source);
  } else {
    const TSNode body = field(found.node, "body");
    const bool is_short = !ts_node_is_null(body) &&
                          ts_node_end_byte(body) - ts_node_start_byte(body) <= LONGEST_VALUE;
    binding.signature = is_short ? ' ' + source.line(Range{from, ts_node_end_byte(body)})
                                 : header(found.node, from, source);
  }
  out.push_back(std::move(binding));
}

// "val total : int list -> int"
void describe_specification(const Found& found, const Source& source, std::vector<Declared>& out) {
  const TSNode type = field(found.node, "type");
  const bool is_function = !ts_node_is_null(type) && type_of(type) == "function_type";
  out.push_back({.kind = is_function ? "function" : "constant",
                 .name = value_name(found.name, source),
                 .signature = header(found.node, ts_node_end_byte(found.name), source)});
}

void describe_type(const Found& found, const Source& source, std::vector<Declared>& out) {
  const TSNode body = field(found.node, "body");
  const std::string_view form = ts_node_is_null(body) ? "" : type_of(body);
  out.push_back({.kind = form == "variant_declaration"  ? "enum"
                         : form == "record_declaration" ? "struct"
                                                        : "type",
                 .name = source.line(found.name),
                 .signature = constant_header(found.node, ts_node_end_byte(found.name), source)});
}

// Up to what is in it; one that another module makes is a type alone.
void describe_module(const Found& found, const Source& source, std::vector<Declared>& out) {
  const std::uint32_t from = ts_node_end_byte(found.name);
  std::uint32_t end = ts_node_end_byte(found.node);
  bool has_items = false;
  for (const Child& child : children(found.node)) {
    const std::string_view type = type_of(child.node);
    if (type != "structure" && type != "signature") continue;
    has_items = true;
    end = ts_node_start_byte(child.node);
    break;
  }
  std::string rest = source.line(Range{from, end});
  rest.resize(rest.find_last_not_of(" =:") + 1);
  if (rest.size() > LONGEST_VALUE) rest.clear();
  if (!rest.empty()) rest.insert(0, 1, ' ');
  out.push_back({.kind = has_items ? "class" : "type",
                 .name = source.line(found.name),
                 .signature = std::move(rest)});
}

void describe_ocaml(const Found& found, std::span<const Enclosing> /*enclosing*/,
                    const Source& source, std::vector<Declared>& out) {
  if (source.raw(found.name) == "_") return;
  if (found.kind == "binding") {
    describe_binding(found, source, out);
  } else if (found.kind == "value") {
    describe_specification(found, source, out);
  } else if (found.kind == "type") {
    describe_type(found, source, out);
  } else if (found.kind == "module") {
    describe_module(found, source, out);
  } else if (found.kind == "exception") {
    out.push_back({.kind = "type",
                   .name = source.line(found.name),
                   .signature = header(found.node, ts_node_end_byte(found.name), source)});
  } else if (found.kind == "interface" || found.kind == "class") {
    out.push_back({.kind = std::string(found.kind), .name = source.line(found.name)});
  } else {
    out.push_back(declared(std::string(found.kind), found, source));
  }
}

// A file is a module: "src/ledger.ml" is Ledger.
std::string module_of(std::string_view path) {
  std::string module(path.substr(path.rfind('/') + 1));
  module.resize(std::min(module.find('.'), module.size()));
  if (!module.empty() && module[0] >= 'a' && module[0] <= 'z') {
    module[0] = static_cast<char>(module[0] - 'a' + 'A');
  }
  return module;
}

}  // namespace

constinit const Language languages::ocaml = {
    .name = "ocaml",
    .grammar = tree_sitter_ocaml,
    .queries = SOURCE_QUERIES,
    .separator = ".",
    .line_comments = NO_LINE_COMMENTS,
    .describe = describe_ocaml,
    .module = module_of,
};

constinit const Language languages::ocaml_interface = {
    .name = "ocaml",
    .extension = ".mli",
    .grammar = tree_sitter_ocaml_interface,
    .queries = INTERFACE_QUERIES,
    .separator = ".",
    .line_comments = NO_LINE_COMMENTS,
    .describe = describe_ocaml,
    .module = module_of,
};

}  // namespace velmora::host::indexing
