#include "indexing/c_family.h"

#include <algorithm>
#include <array>
#include <utility>

#include "indexing/declaration.h"
#include "indexing/names.h"

namespace velmora::host::indexing {
namespace {

using Role = Enclosing::Role;

bool is_header(std::string_view path) {
  const std::string_view extension = path.substr(std::min(path.rfind('.'), path.size()));
  constexpr std::array<std::string_view, 5> SOURCES = {".c", ".cpp", ".cc", ".cxx", ".c++"};
  return extension != ".C" && std::ranges::find(SOURCES, extension) == SOURCES.end();
}

bool is_declarator(std::string_view type) { return type.ends_with("declarator"); }

// "Foo<T>::bar" without its arguments: "Foo::bar". Members of a template are written with other
// arguments inside the class than outside.
std::string without_arguments(std::string_view name) {
  std::string plain;
  int depth = 0;
  for (const char c : name) {
    if (c == '<') ++depth;
    if (depth == 0 && c != ' ') plain += c;
    if (c == '>') --depth;
  }
  return plain;
}

std::string_view last_part(std::string_view qualified) {
  const std::size_t separator = qualified.rfind("::");
  return separator == std::string_view::npos ? qualified : qualified.substr(separator + 2);
}

// What a declarator says: "*Foo::bar(int a) const" is the name bar, the qualifier Foo, a function
// with the suffix "(int a) const" that returns a pointer.
struct Declarator {
  std::string qualifier;
  std::string name;
  std::string arguments;
  std::string suffix;
  std::string pointers;
  std::size_t templates = 0;  // parts of the qualifier with template arguments
  bool is_function = false;
  bool has_result_in_suffix = false;  // "-> T", or a conversion, whose name tells it
};

// Takes a name apart: qualifier, last part, and template arguments.
void read_name(TSNode node, const Source& source, Declarator& out) {
  std::string written;
  while (type_of(node) == "qualified_identifier") {
    if (const TSNode scope = field(node, "scope"); !ts_node_is_null(scope)) {
      if (!written.empty()) written += "::";
      written += source.line(scope);
      if (type_of(scope) == "template_type") ++out.templates;
    }
    const TSNode next = field(node, "name");
    if (ts_node_is_null(next)) break;
    node = next;
  }
  out.qualifier = without_arguments(written);
  const std::string_view type = type_of(node);
  if (type == "template_function" || type == "template_method" || type == "template_type") {
    if (const TSNode arguments = field(node, "arguments"); !ts_node_is_null(arguments)) {
      out.arguments = source.line(arguments);
    }
    node = field(node, "name");
  } else if (type == "operator_cast") {
    const TSNode target = field(node, "type");
    const TSNode rest = field(node, "declarator");
    out.name = "operator " + source.line(target);
    out.is_function = true;
    out.has_result_in_suffix = true;
    if (!ts_node_is_null(rest)) {
      const std::string text = source.line(rest);
      const std::size_t open = std::min(text.find('('), text.size());
      out.name += text.substr(0, open);
      out.suffix = text.substr(open);
    }
    return;
  }
  out.name = source.line(node);
}

// The declarator inside `node`, or a null node.
TSNode inner_declarator(TSNode node) {
  if (const TSNode inner = field(node, "declarator"); !ts_node_is_null(inner)) return inner;
  for (const Child& child : children(node)) {
    const std::string_view type = type_of(child.node);
    if (is_declarator(type) || type.ends_with("identifier") || type == "operator_name" ||
        type == "destructor_name") {
      return child.node;
    }
  }
  return {};
}

Declarator read_declarator(TSNode node, const Source& source) {
  Declarator out;
  TSNode function{};  // the function declarator right around the name
  TSNode result{};    // the one around that, of a function that returns a function's address
  while (!ts_node_is_null(node) && is_declarator(type_of(node))) {
    const std::string_view type = type_of(node);
    const TSNode inner = inner_declarator(node);
    if (ts_node_is_null(inner)) break;
    if (type == "function_declarator") {
      function = node;
    } else if (type == "pointer_declarator" || type == "reference_declarator") {
      result = function;
      function = {};
      out.pointers += source.line(Range{ts_node_start_byte(node), ts_node_start_byte(inner)});
    } else if (type == "array_declarator") {
      function = {};
    }
    node = inner;
  }
  if (ts_node_is_null(node) || is_declarator(type_of(node))) return out;
  read_name(node, source, out);
  if (!ts_node_is_null(function)) {
    out.is_function = true;
    const TSNode parameters = field(function, "parameters");
    if (!ts_node_is_null(parameters)) {
      out.suffix = source.line(Range{ts_node_start_byte(parameters), ts_node_end_byte(function)});
    }
    if (!ts_node_is_null(result)) {
      out.pointers = " (" + out.pointers + ")" + source.line(field(result, "parameters"));
    }
    for (const Child& child : children(function)) {
      if (type_of(child.node) == "trailing_return_type") out.has_result_in_suffix = true;
    }
  }
  return out;
}

// The type that stands before the declarators of a declaration, and what kind of declaration it is.
struct Specifiers {
  std::string type;  // "const char"; without storage classes and attributes
  bool is_constant = false;
  bool is_typeless = true;  // constructors, destructors, and macros that look like functions
};

Specifiers read_specifiers(const std::vector<Child>& parts, const Source& source) {
  Specifiers out;
  for (const Child& part : parts) {
    if (part.field == "declarator") break;
    const std::string_view type = type_of(part.node);
    if (type == "type_qualifier") {
      const std::string_view word = source.raw(part.node);
      if (word == "const" || word == "constexpr") out.is_constant = true;
      if (word != "const" && word != "volatile") continue;
    } else if (part.field != "type") {
      continue;
    }
    Range range = range_of(part.node);
    if (part.field == "type") {
      out.is_typeless = false;
      if (const TSNode body = field(part.node, "body"); !ts_node_is_null(body)) {
        range.end = ts_node_start_byte(body);
      }
    }
    if (!out.type.empty()) out.type += ' ';
    out.type += source.line(range);
  }
  return out;
}

// The class that the definition stands in, or null.
const Enclosing* enclosing_type(std::span<const Enclosing> enclosing) {
  for (std::size_t i = enclosing.size(); i > 0; --i) {
    const Enclosing& around = enclosing[i - 1];
    if (around.role == Role::type) return &around;
    if (around.role == Role::scope || around.role == Role::friends) break;
  }
  return nullptr;
}

bool in_friend(std::span<const Enclosing> enclosing) {
  return std::ranges::any_of(enclosing, [](const Enclosing& e) { return e.role == Role::friends; });
}

// Whether what stands in front of "::" is a namespace, as far as this file tells.
bool names_namespace(std::string_view qualifier, const Source& source) {
  return source.scopes.contains(qualifier) || source.scopes.contains(last_part(qualifier));
}

// The parameters of the template that a definition is: of its own header, where the arguments in
// its qualifier stand for others. Nothing when they take more room than a value may.
std::string template_parameters(std::span<const Enclosing> enclosing, std::size_t others) {
  std::size_t headers = 0;
  while (headers < enclosing.size() &&
         enclosing[enclosing.size() - 1 - headers].role == Role::wrapper &&
         !enclosing[enclosing.size() - 1 - headers].used) {
    ++headers;
  }
  const bool own = headers > others && enclosing.back().name != "<>" &&
                   enclosing.back().name.size() <= LONGEST_VALUE;
  return own ? enclosing.back().name : std::string();
}

bool is_identifier(std::string_view text) {
  const bool begins = !text.empty() && (text.front() < '0' || text.front() > '9');
  return begins && std::ranges::all_of(text, [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '_';
         });
}

// What a macro defines is named by its arguments, which stand in brackets: TEST(Suite, Case) { ...
// } by both, and by the first one TEST_CASE("text") and SYSCALL_DEFINE3(read, ...), whose name ends
// with the number of the others. Nothing has other things than names.
void describe_made(const std::string& macro, std::string_view arguments,
                   std::vector<Declared>& out) {
  Declared made{.kind = "function", .signature = ": " + macro + std::string(arguments)};
  arguments.remove_prefix(1);
  arguments.remove_suffix(1);
  const std::size_t comma = std::min(arguments.find(','), arguments.size());
  const std::string_view first = arguments.substr(0, comma);
  std::string_view second = arguments.substr(std::min(comma + 2, arguments.size()));
  second = second.substr(0, second.find(','));
  const bool counts = macro.back() >= '0' && macro.back() <= '9';
  if (arguments.starts_with('"')) {
    made.name = arguments.substr(1, arguments.find('"', 1) - 1);
  } else if (is_identifier(first) && is_identifier(second) && !counts) {
    made.qualifier = first;
    made.name = second;
  } else if (is_identifier(first)) {
    made.name = first;
  } else {
    return;
  }
  out.push_back(std::move(made));
}

// What the grammar of C takes for a call, at the start of a line, and a block behind it: a macro's
// use, or a function that does not say what it returns.
void describe_call(const Found& found, const Source& source, std::vector<Declared>& out) {
  const bool ends = source.raw(found.node).ends_with(';');
  if (ends || ts_node_start_point(found.node).column > 0) return;
  TSNode call = ts_node_named_child(found.node, 0);
  TSNode function = field(call, "function");
  // DEFUN("name", ...) (parameters) { ... }
  if (type_of(function) == "call_expression") {
    call = function;
    function = field(call, "function");
  }
  if (type_of(function) != "identifier") return;
  std::string name = source.line(function);
  std::string arguments = source.line(field(call, "arguments"));
  if (is_in_capitals(name) && arguments.size() > 2) {
    describe_made(name, arguments, out);
  } else {
    out.push_back({.kind = "function", .name = std::move(name), .signature = std::move(arguments)});
  }
}

void describe_function(const Declarator& declarator, const Specifiers& specifiers,
                       std::span<const Enclosing> enclosing, const Source& source,
                       std::vector<Declared>& out) {
  const Enclosing* const type = enclosing_type(enclosing);
  const bool member = type != nullptr || (!declarator.qualifier.empty() &&
                                          !names_namespace(declarator.qualifier, source));
  if (!member && specifiers.is_typeless && is_in_capitals(declarator.name) &&
      declarator.suffix.size() > 2 && declarator.suffix.front() == '(') {
    describe_made(declarator.name, declarator.suffix, out);
    return;
  }
  const std::string_view owner = !declarator.qualifier.empty() ? last_part(declarator.qualifier)
                                 : type != nullptr             ? std::string_view(type->name)
                                                               : std::string_view();
  Declared function{.kind = !member                    ? "function"
                            : declarator.name == owner ? "constructor"
                                                       : "method",
                    .qualifier = declarator.qualifier,
                    .name = declarator.name,
                    .arguments = declarator.arguments.empty()
                                     ? template_parameters(enclosing, declarator.templates)
                                     : declarator.arguments,
                    .signature = declarator.suffix,
                    .outside_types = in_friend(enclosing)};
  if (!declarator.has_result_in_suffix && !specifiers.type.empty()) {
    function.signature += " -> " + specifiers.type;
    // "int *f()" is written the way that "f() -> int*" reads.
    function.signature += declarator.pointers;
  }
  out.push_back(std::move(function));
}

// A lambda with a name: a function, wherever it is one.
Declared named_lambda(const Declarator& declarator, TSNode lambda, bool in_type,
                      const Source& source) {
  Declared function{.kind = in_type ? "method" : "function",
                    .qualifier = declarator.qualifier,
                    .name = declarator.name};
  const TSNode parameters = field(lambda, "declarator");
  if (const TSNode types = field(lambda, "template_parameters"); !ts_node_is_null(types)) {
    function.signature = source.line(types);
  }
  function.signature += ts_node_is_null(parameters) ? "()" : source.line(parameters);
  return function;
}

void describe_declaration(const Found& found, std::span<const Enclosing> enclosing,
                          const Source& source, std::vector<Declared>& out) {
  const std::vector<Child> parts = children(found.node);
  const Specifiers specifiers = read_specifiers(parts, source);
  const bool in_type = enclosing_type(enclosing) != nullptr;
  std::size_t count = 0;
  for (const Child& part : parts) {
    if (part.field != "declarator" || ++count > MOST_DECLARATORS) continue;
    const Declarator declarator = read_declarator(part.node, source);
    if (declarator.name.empty()) continue;
    TSNode value = field(part.node, "value");
    if (ts_node_is_null(value)) value = field(found.node, "default_value");
    if (declarator.is_function) {
      // Without a type and outside a class it is a macro's use: no prototype looks like that.
      const bool prototype = in_type || (is_header(source.path) && !specifiers.is_typeless);
      const bool defaulted = !ts_node_is_null(value) && source.raw(value) == "default";
      if ((prototype || defaulted) && !in_friend(enclosing)) {
        describe_function(declarator, specifiers, enclosing, source, out);
      }
    } else if (!ts_node_is_null(value) && type_of(value) == "lambda_expression" &&
               (specifiers.is_constant || !in_type)) {
      out.push_back(named_lambda(declarator, value, in_type, source));
    } else if (specifiers.is_constant && !in_type) {
      Declared constant{.kind = "constant",
                        .qualifier = declarator.qualifier,
                        .name = declarator.name,
                        .arguments = template_parameters(enclosing, declarator.templates),
                        .signature = ": " + specifiers.type + declarator.pointers};
      if (!ts_node_is_null(value) &&
          ts_node_end_byte(value) - ts_node_start_byte(value) <= LONGEST_VALUE) {
        constant.signature += " = " + source.line(value);
      }
      out.push_back(std::move(constant));
    }
  }
}

// A class, struct, union or enum: everything between its name and its body.
void describe_type(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out) {
  const TSNode name = field(found.node, "name");
  const TSNode body = field(found.node, "body");
  if (ts_node_is_null(name)) return;
  Declarator read;
  read_name(name, source, read);
  out.push_back(
      {.kind = std::string(found.kind),
       .qualifier = read.qualifier,
       .name = read.name,
       .arguments =
           read.arguments.empty() ? template_parameters(enclosing, read.templates) : read.arguments,
       .signature = source.line(Range{ts_node_end_byte(name), ts_node_start_byte(body)})});
  std::string& rest = out.back().signature;
  if (!rest.empty()) rest.insert(0, 1, ' ');
}

// typedef: the type that it names, or, for "typedef struct { ... } Name", the struct.
void describe_typedef(const Found& found, const Source& source, std::vector<Declared>& out) {
  const std::vector<Child> parts = children(found.node);
  const Specifiers specifiers = read_specifiers(parts, source);
  std::string kind = "type";
  if (const TSNode type = field(found.node, "type"); !ts_node_is_null(type)) {
    const bool named = !ts_node_is_null(field(type, "name"));
    if (!named && !ts_node_is_null(field(type, "body"))) {
      kind = type_of(type).substr(0, type_of(type).find('_'));  // "struct_specifier"
    }
  }
  std::size_t count = 0;
  for (const Child& part : parts) {
    if (part.field != "declarator" || ++count > MOST_DECLARATORS) continue;
    const Declarator declarator = read_declarator(part.node, source);
    if (declarator.name.empty()) continue;
    Declared type{.kind = kind, .name = declarator.name};
    if (kind == "type") {
      // The declarator without the name is what C writes for the type: "int (*)(void)".
      std::string shape = source.line(part.node);
      if (const std::size_t at = shape.find(declarator.name); at != std::string::npos) {
        shape.erase(at, declarator.name.size());
      }
      type.signature = " = " + specifiers.type + (shape.starts_with('(') ? " " : "") + shape;
    }
    out.push_back(std::move(type));
  }
}

void describe_macro(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  const TSNode value = field(found.node, "value");
  const TSNode parameters = field(found.node, "parameters");
  Declared macro{.kind = "macro", .name = source.line(found.name)};
  if (!ts_node_is_null(parameters)) {
    macro.signature = source.line(parameters);
  } else if (ts_node_is_null(value)) {
    const bool guard = std::ranges::any_of(enclosing, [&](const Enclosing& e) {
      return e.role == Role::condition && e.name == macro.name;
    });
    if (guard) return;
  } else if (ts_node_end_byte(value) - ts_node_start_byte(value) <= LONGEST_VALUE) {
    macro.signature = " " + source.line(value);
  }
  out.push_back(std::move(macro));
}

// "using Name = type;" and "concept Name = condition;"
void describe_alias(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out) {
  Range rest{ts_node_end_byte(found.name), ts_node_end_byte(found.node)};
  if (source.text.substr(0, rest.end).ends_with(';')) --rest.end;
  out.push_back({.kind = "type",
                 .name = source.line(found.name),
                 .arguments = template_parameters(enclosing, 0),
                 .signature = " " + source.line(rest)});
}

}  // namespace

void describe_c_family(const Found& found, std::span<const Enclosing> enclosing,
                       const Source& source, std::vector<Declared>& out) {
  if (found.kind == "function") {
    const TSNode node = field(found.node, "declarator");
    if (ts_node_is_null(node)) return;
    const Declarator declarator = read_declarator(node, source);
    if (!declarator.is_function || declarator.name.empty()) return;
    describe_function(declarator, read_specifiers(children(found.node), source), enclosing, source,
                      out);
  } else if (found.kind == "call") {
    describe_call(found, source, out);
  } else if (found.kind == "declaration") {
    describe_declaration(found, enclosing, source, out);
  } else if (found.kind == "macro") {
    describe_macro(found, enclosing, source, out);
  } else if (found.kind == "type") {
    if (ts_node_is_null(found.name)) {
      describe_typedef(found, source, out);
    } else {
      describe_alias(found, enclosing, source, out);
    }
  } else {
    describe_type(found, enclosing, source, out);
  }
}

}  // namespace velmora::host::indexing
