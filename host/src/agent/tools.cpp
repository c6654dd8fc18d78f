#include <algorithm>
#include <exception>
#include <new>

#include "agent/tool.h"
#include "browse/limited_text.h"
#include "text/printable.h"

namespace velmora::host::agent {
namespace {

OrderedJson schema_of(const Parameter& parameter) {
  const auto choices = [&](OrderedJson schema) {
    if (!parameter.choices.empty()) schema["enum"] = parameter.choices;
    return schema;
  };
  OrderedJson schema = OrderedJson::object();
  switch (parameter.type) {
    case Parameter::Type::text:
      schema = choices({{"type", "string"}});
      break;
    case Parameter::Type::texts:
      schema["type"] = "array";
      schema["items"] = choices({{"type", "string"}});
      break;
    case Parameter::Type::integer:
      schema["type"] = "integer";
      schema["minimum"] = parameter.least;
      schema["maximum"] = parameter.most;
      schema["default"] = parameter.standard;
      break;
    case Parameter::Type::boolean:
      schema["type"] = "boolean";
      break;
  }
  schema["description"] = parameter.description;
  return schema;
}

OrderedJson input_schema(const Tool& tool) {
  OrderedJson properties = OrderedJson::object();
  OrderedJson required = OrderedJson::array();
  for (const Parameter& parameter : tool.parameters) {
    properties[std::string(parameter.name)] = schema_of(parameter);
    if (parameter.required) required.push_back(parameter.name);
  }
  OrderedJson schema = {{"type", "object"}, {"properties", std::move(properties)}};
  if (!required.empty()) schema["required"] = std::move(required);
  schema["additionalProperties"] = false;
  return schema;
}

ToolAnswer failure(std::string_view text, std::size_t most) {
  const std::string shown = text::printable(text);
  return {.text = std::string(browse::first_characters(shown, most)), .is_error = true};
}

}  // namespace

const std::vector<Tool>& tools() {
  static const std::vector<Tool> all = {explore_tool(), find_tool(), show_tool(), outline_tool(),
                                        status_tool()};
  return all;
}

const Tool* tool_named(std::string_view name) {
  const auto tool = std::ranges::find(tools(), name, &Tool::name);
  return tool == tools().end() ? nullptr : &*tool;
}

OrderedJson tool_json(const Tool& tool) {
  OrderedJson json = OrderedJson::object();
  json["name"] = tool.name;
  json["title"] = tool.title;
  json["description"] = tool.description;
  json["inputSchema"] = input_schema(tool);
  json["annotations"] = {{"readOnlyHint", true},
                         {"destructiveHint", false},
                         {"idempotentHint", true},
                         {"openWorldHint", false}};
  return json;
}

ToolAnswer call_tool(const Tool& tool, const Json& arguments, const Asking& asking) {
  auto most = static_cast<std::size_t>(max_characters_parameter().standard);
  try {
    const Arguments checked(arguments, tool.parameters);
    most = checked.integer("max_characters");
    return {.text = tool.answer(checked, asking)};
  } catch (const std::bad_alloc&) {
    return failure("There is not enough memory for an answer.", most);
  } catch (const std::exception& error) {
    return failure(error.what(), most);
  }
}

}  // namespace velmora::host::agent
