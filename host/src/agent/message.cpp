#include "agent/message.h"

namespace velmora::host::agent {
namespace {

void check_shape(std::string_view line) {
  int depth = 0;
  std::size_t values = 1;
  bool in_text = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (in_text) {
      if (c == '\\') ++i;
      in_text = c != '"';
      continue;
    }
    if (c == '"') in_text = true;
    if (c == ']' || c == '}') --depth;
    const bool opens = c == '[' || c == '{';
    if (opens && ++depth > DEEPEST_MESSAGE) {
      throw ProtocolError(
          ErrorCode::invalid_request,
          "The message is nested deeper than " + std::to_string(DEEPEST_MESSAGE) + " levels");
    }
    if ((opens || c == ',') && ++values > MOST_MESSAGE_VALUES) {
      throw ProtocolError(
          ErrorCode::invalid_request,
          "The message has more than " + std::to_string(MOST_MESSAGE_VALUES) + " values");
    }
  }
}

bool is_id(const Json& value) { return value.is_string() || value.is_number_integer(); }

std::string line_of(const OrderedJson& message) {
  return message.dump(-1, ' ', false, OrderedJson::error_handler_t::replace) + "\n";
}

OrderedJson message_with(const Json& id) {
  OrderedJson message = {{"jsonrpc", "2.0"}};
  if (!id.is_null()) message["id"] = id;
  return message;
}

}  // namespace

Message read_message(std::string_view line, Json& id) {
  check_shape(line);
  Json value = Json::parse(line, nullptr, false);
  if (value.is_discarded()) {
    throw ProtocolError(ErrorCode::not_json, "The message is not JSON in UTF-8");
  }
  if (value.is_array()) {
    throw ProtocolError(ErrorCode::invalid_request,
                        "Batches are not taken: send each message on a line of its own");
  }
  const auto invalid = [](const char* text) {
    return ProtocolError(ErrorCode::invalid_request, text);
  };
  if (!value.is_object()) throw invalid("A message is a JSON object");
  const bool has_id = value.contains("id");
  if (has_id && is_id(value["id"])) id = value["id"];
  const auto method = value.find("method");
  if (method == value.end() && has_id && (value.contains("result") || value.contains("error"))) {
    return {.kind = Message::Kind::response};
  }
  if (method == value.end() || !method->is_string()) throw invalid("\"method\" must be a string");
  Message message{.kind = has_id ? Message::Kind::request : Message::Kind::notification,
                  .id = id,
                  .method = method->get<std::string>()};
  const auto params = value.find("params");
  if (params != value.end()) message.params = std::move(*params);
  if (!has_id) return message;
  if (id.is_null()) throw invalid("\"id\" must be a string or an integer");
  const auto version = value.find("jsonrpc");
  if (version == value.end() || *version != "2.0") throw invalid("\"jsonrpc\" must be \"2.0\"");
  if (!message.params.is_object()) {
    throw ProtocolError(ErrorCode::invalid_params, "\"params\" must be an object");
  }
  return message;
}

ProtocolError too_long() {
  return {ErrorCode::invalid_request,
          "The message is longer than " + std::to_string(MOST_MESSAGE_BYTES) + " bytes"};
}

std::string result_line(const Json& id, OrderedJson result) {
  OrderedJson message = message_with(id);
  message["result"] = std::move(result);
  return line_of(message);
}

std::string error_line(const Json& id, const ProtocolError& error) {
  OrderedJson message = message_with(id);
  message["error"] = {{"code", static_cast<int>(error.code())}, {"message", error.what()}};
  if (!error.data().is_null()) message["error"]["data"] = error.data();
  return line_of(message);
}

std::string notification_line(std::string_view method, OrderedJson params) {
  return line_of({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}});
}

}  // namespace velmora::host::agent
