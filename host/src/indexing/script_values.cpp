#include "indexing/script_values.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "indexing/declaration.h"

namespace velmora::host::indexing {
namespace {

// More wrappers one within the other are not looked into.
constexpr int DEEPEST_WRAPPERS = 8;

bool is_function(std::string_view type) {
  return type == "arrow_function" || type == "function_expression" || type == "generator_function";
}

// Whether what is called may return a function that does the work of the one it is given: a
// function, or one of a module, that is not known to return something else.
bool may_wrap(TSNode called, const Source& source) {
  constexpr std::string_view OTHERS[] = {"setTimeout",   "setInterval",
                                         "setImmediate", "require",
                                         "map",          "flatMap",
                                         "filter",       "reduce",
                                         "reduceRight",  "some",
                                         "every",        "find",
                                         "findIndex",    "findLast",
                                         "sort",         "toSorted",
                                         "forEach",      "from",
                                         "then",         "catch",
                                         "finally",      "replace",
                                         "replaceAll",   "on",
                                         "createServer", "addEventListener",
                                         "subscribe",    "times",
                                         "fromEntries",  "keyBy",
                                         "groupBy",      "sortBy",
                                         "mapValues",    "uniqBy",
                                         "range"};
  if (type_of(called) == "call_expression") called = field(called, "function");  // connect(a)(b)
  TSNode name = called;
  if (type_of(called) == "member_expression") {
    name = field(called, "property");
    if (type_of(field(called, "object")) != "identifier") return false;
  } else if (type_of(called) != "identifier") {
    return false;
  }
  return std::ranges::find(OTHERS, source.raw(name)) == std::end(OTHERS);
}

// "(x) as Type" is x.
TSNode without_casts(TSNode value) {
  for (int depth = 0; depth < DEEPEST_WRAPPERS; ++depth) {
    const std::string_view type = type_of(value);
    if (type != "parenthesized_expression" && type != "as_expression" &&
        type != "satisfies_expression") {
      break;
    }
    value = ts_node_named_child(value, 0);
    if (ts_node_is_null(value)) break;
  }
  return value;
}

}  // namespace

TSNode function_of(TSNode value, const Source& source) {
  for (int depth = 0; depth < DEEPEST_WRAPPERS && !ts_node_is_null(value); ++depth) {
    value = without_casts(value);
    if (ts_node_is_null(value)) break;
    const std::string_view type = type_of(value);
    if (is_function(type)) return value;
    if (type != "call_expression" || !may_wrap(field(value, "function"), source)) break;
    TSNode inner{};
    for (const Child& argument : children(field(value, "arguments"))) {
      const std::string_view argument_type = type_of(argument.node);
      if (is_function(argument_type)) return argument.node;
      if (ts_node_is_null(inner) && argument_type == "call_expression") inner = argument.node;
    }
    value = inner;
  }
  return {};
}

std::string function_signature(TSNode function, const Source& source) {
  if (const TSNode only = field(function, "parameter"); !ts_node_is_null(only)) {
    return '(' + source.line(only) + ')';
  }
  const TSNode parameters = field(function, "parameters");
  if (ts_node_is_null(parameters)) return {};
  const TSNode types = field(function, "type_parameters");
  const TSNode result = field(function, "return_type");
  return source.line(Range{ts_node_start_byte(ts_node_is_null(types) ? parameters : types),
                           ts_node_end_byte(ts_node_is_null(result) ? parameters : result)});
}

std::string class_signature(TSNode value, const Source& source) {
  const TSNode own = field(value, "name");
  const std::uint32_t keyword = ts_node_start_byte(value) + std::uint32_t{sizeof("class") - 1};
  return header(value, ts_node_is_null(own) ? keyword : ts_node_end_byte(own), source);
}

}  // namespace velmora::host::indexing
