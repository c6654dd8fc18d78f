#include "agent/conversation.h"

#include <algorithm>
#include <utility>

#include "browse/limited_text.h"

namespace velmora::host::agent {
namespace {

constexpr const char* VERSION_FIELD = "io.modelcontextprotocol/protocolVersion";
constexpr const char* CAPABILITIES_FIELD = "io.modelcontextprotocol/clientCapabilities";
constexpr const char* SERVER_FIELD = "io.modelcontextprotocol/serverInfo";

// The tools are the program's: they change with its version alone.
constexpr std::int64_t LIST_MILLISECONDS = 60 * 60 * 1000;

constexpr std::string_view INSTRUCTIONS =
    "Velmora knows the definitions (functions, types, methods, constants) of the repository that"
    " you work in, and keeps itself up to date. Before you grep or read files to find code, ask it:"
    " explore with a question when you do not know the name, find when you do, outline for what a"
    " file or folder holds; then show for the source of one definition. It does not search literal"
    " strings, comments, or uses of a name: grep does.";

OrderedJson server_info() {
  return {{"name", "velmora"}, {"title", "Velmora"}, {"version", VELMORA_VERSION}};
}

// With what results of the era have besides.
OrderedJson finished(OrderedJson result, Era era) {
  if (era == Era::legacy) return result;
  OrderedJson whole = {{"resultType", "complete"}};
  whole.update(result);
  whole["_meta"] = {{SERVER_FIELD, server_info()}};
  return whole;
}

OrderedJson cacheable(OrderedJson result, Era era) {
  if (era == Era::modern) {
    result["ttlMs"] = LIST_MILLISECONDS;
    result["cacheScope"] = "public";
  }
  return finished(std::move(result), era);
}

// An empty object must not be taken for an array.
OrderedJson capabilities() { return {{"tools", OrderedJson::object()}}; }

OrderedJson discovered() {
  return cacheable({{"supportedVersions", MODERN_VERSIONS},
                    {"capabilities", capabilities()},
                    {"instructions", INSTRUCTIONS}},
                   Era::modern);
}

ProtocolError wrong_params(const std::string& text) { return {ErrorCode::invalid_params, text}; }

OrderedJson initialized(const Json& params) {
  const auto asked = params.find("protocolVersion");
  if (asked == params.end() || !asked->is_string()) {
    throw wrong_params("\"protocolVersion\" must be a string");
  }
  const auto known = std::ranges::find(LEGACY_VERSIONS, asked->get_ref<const std::string&>());
  return {{"protocolVersion", known == LEGACY_VERSIONS.end() ? LEGACY_VERSIONS.front() : *known},
          {"capabilities", capabilities()},
          {"serverInfo", server_info()},
          {"instructions", INSTRUCTIONS}};
}

OrderedJson listed(const Json& params, Era era) {
  // All tools are on the first page, which has no cursor.
  const auto cursor = params.find("cursor");
  if (cursor != params.end() && !cursor->is_null()) throw wrong_params("There is no such cursor");
  OrderedJson list = OrderedJson::array();
  for (const Tool& tool : tools()) list.push_back(tool_json(tool));
  return cacheable({{"tools", std::move(list)}}, era);
}

const Json* find(const Json& object, const char* name) {
  if (!object.is_object()) return nullptr;
  const auto value = object.find(name);
  return value == object.end() ? nullptr : &*value;
}

Call call_of(Message message, Era era, std::size_t size) {
  if (size > LONGEST_CALL) {
    throw wrong_params("The call is longer than " + std::to_string(LONGEST_CALL) + " bytes");
  }
  const Json* const name = find(message.params, "name");
  if (name == nullptr || !name->is_string()) throw wrong_params("\"name\" must be a string");
  const Tool* const tool = tool_named(name->get_ref<const std::string&>());
  if (tool == nullptr) {
    throw wrong_params("Unknown tool: " +
                       browse::one_line(name->get_ref<const std::string&>(), 100));
  }
  Call call{.id = std::move(message.id), .era = era, .tool = tool, .arguments = Json::object()};
  const Json* const arguments = find(message.params, "arguments");
  if (arguments != nullptr && !arguments->is_null()) {
    if (!arguments->is_object()) throw wrong_params("\"arguments\" must be an object");
    call.arguments = *arguments;
  }
  const Json* const meta = find(message.params, "_meta");
  const Json* const token = meta == nullptr ? nullptr : find(*meta, "progressToken");
  if (token != nullptr && (token->is_string() || token->is_number_integer())) {
    call.progress_token = *token;
  }
  return call;
}

// A request's `_meta` says what it must, in a version that is known.
void check_modern(const Json& meta) {
  const Json* const version = find(meta, VERSION_FIELD);
  const Json* const capabilities = find(meta, CAPABILITIES_FIELD);
  if (version == nullptr || !version->is_string()) {
    throw wrong_params(std::string("\"_meta\" must have ") + VERSION_FIELD +
                       ", a string; earlier revisions open with initialize");
  }
  if (capabilities == nullptr || !capabilities->is_object()) {
    throw wrong_params(std::string("\"_meta\" must have ") + CAPABILITIES_FIELD + ", an object");
  }
  const auto& name = version->get_ref<const std::string&>();
  if (std::ranges::find(MODERN_VERSIONS, name) == MODERN_VERSIONS.end()) {
    throw ProtocolError(
        ErrorCode::unsupported_version, "The protocol version is not supported",
        {{"supported", MODERN_VERSIONS}, {"requested", browse::one_line(name, 100)}});
  }
}

}  // namespace

Conversation::Step Conversation::take(std::string_view line) {
  Json id = nullptr;
  try {
    Message message = read_message(line, id);
    switch (message.kind) {
      case Message::Kind::request:
        return take_request(std::move(message), line.size());
      case Message::Kind::response:  // to nothing that was asked
        return Nothing();
      case Message::Kind::notification:
        break;
    }
    const Json* const cancelled =
        message.method == "notifications/cancelled" ? find(message.params, "requestId") : nullptr;
    if (cancelled == nullptr) return Nothing();
    return Cancellation{*cancelled};
  } catch (const ProtocolError& error) {
    return error_line(id, error);
  }
}

Era Conversation::era_of(const Message& message) const {
  const Json* const meta = find(message.params, "_meta");
  const bool is_modern = meta != nullptr && (find(*meta, VERSION_FIELD) != nullptr ||
                                             find(*meta, CAPABILITIES_FIELD) != nullptr);
  if (!is_modern &&
      (is_initialized_ || message.method == "initialize" || message.method == "ping")) {
    return Era::legacy;
  }
  check_modern(meta == nullptr ? Json::object() : *meta);
  return Era::modern;
}

Conversation::Step Conversation::take_request(Message message, std::size_t size) {
  const Era era = era_of(message);
  const auto result = [&](OrderedJson value) { return result_line(message.id, std::move(value)); };
  if (message.method == "tools/list") return result(listed(message.params, era));
  if (message.method == "tools/call") return call_of(std::move(message), era, size);
  if (era == Era::modern && message.method == "server/discover") return result(discovered());
  if (era == Era::legacy && message.method == "ping") return result(OrderedJson::object());
  if (era == Era::legacy && message.method == "initialize") {
    OrderedJson answer = initialized(message.params);
    is_initialized_ = true;
    return result(std::move(answer));
  }
  throw ProtocolError(ErrorCode::unknown_method,
                      "Unknown method: " + browse::one_line(message.method, 100));
}

std::string answer_line(const Call& call, const ToolAnswer& answer) {
  OrderedJson content = OrderedJson::object();
  content["type"] = "text";
  content["text"] = answer.text;
  OrderedJson result = OrderedJson::object();
  result["content"] = OrderedJson::array({std::move(content)});
  result["isError"] = answer.is_error;
  return result_line(call.id, finished(std::move(result), call.era));
}

std::string progress_line(const Call& call, std::int64_t progress, const std::string& message) {
  return notification_line(
      "notifications/progress",
      {{"progressToken", call.progress_token}, {"progress", progress}, {"message", message}});
}

}  // namespace velmora::host::agent
