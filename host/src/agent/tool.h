// A tool of the agent's server: what it is called with, and what it answers.
//
// The parameters are said once: the schema that clients see and the check of what they send are
// made of the same list.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "agent/arguments.h"
#include "agent/asking.h"
#include "agent/message.h"

namespace velmora::host::agent {

struct Tool {
  std::string_view name;
  std::string_view title;
  std::string_view description;  // when to use it and when not, for a model
  std::vector<Parameter> parameters;
  // Answers within the `max_characters` of the arguments. Any thread may call. Throws ToolError,
  // upkeep and index errors, whose texts are for the model, and CallEnded.
  std::string (*answer)(const Arguments& arguments, const Asking& asking);
};

// Every tool, in the order in which clients see them, which never changes.
[[nodiscard]] const std::vector<Tool>& tools();

// Null when there is none of this name.
[[nodiscard]] const Tool* tool_named(std::string_view name);

// What tools/list says of it.
[[nodiscard]] OrderedJson tool_json(const Tool& tool);

struct ToolAnswer {
  std::string text = {};  // may be shown on a terminal
  bool is_error = false;
};

// Calls a tool. What is wrong becomes an answer that says what to do; only CallEnded is thrown.
[[nodiscard]] ToolAnswer call_tool(const Tool& tool, const Json& arguments, const Asking& asking);

// Of one file each.
[[nodiscard]] Tool explore_tool();
[[nodiscard]] Tool find_tool();
[[nodiscard]] Tool show_tool();
[[nodiscard]] Tool outline_tool();
[[nodiscard]] Tool status_tool();

}  // namespace velmora::host::agent
