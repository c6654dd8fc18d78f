// What a client says: one JSON-RPC 2.0 message, on one line.
//
// The bytes are anybody's. A message has MOST_MESSAGE_BYTES at most; what is nested deeper than
// DEEPEST_MESSAGE or has more than MOST_MESSAGE_VALUES values is refused before it is parsed, so
// that neither the stack nor the memory depends on what is sent.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::host::agent {

// What is read: names in a map, since an object may have many of them.
using Json = nlohmann::json;
// What is written: names in the order in which they were put.
using OrderedJson = nlohmann::ordered_json;

inline constexpr std::size_t MOST_MESSAGE_BYTES = std::size_t{16} << 20;
inline constexpr int DEEPEST_MESSAGE = 64;
inline constexpr std::size_t MOST_MESSAGE_VALUES = 100'000;

enum class ErrorCode : int {
  not_json = -32700,
  invalid_request = -32600,
  unknown_method = -32601,
  invalid_params = -32602,
  internal = -32603,
  unsupported_version = -32022,
};

// A message that the protocol has an error for. The text says what is wrong.
class ProtocolError : public std::runtime_error {
 public:
  ProtocolError(ErrorCode code, const std::string& text, OrderedJson data = nullptr)
      : std::runtime_error(text), code_(code), data_(std::move(data)) {}

  [[nodiscard]] ErrorCode code() const { return code_; }
  [[nodiscard]] const OrderedJson& data() const { return data_; }  // null: none

 private:
  ErrorCode code_;
  OrderedJson data_;
};

struct Message {
  enum class Kind { request, notification, response };
  Kind kind = Kind::request;
  Json id = nullptr;  // of a request: a string or an integer
  std::string method = {};
  Json params = Json::object();  // an object; of a notification anything
};

// Reads a message. Sets `id` to that of a request as soon as it is known, so that an error can
// carry it. Throws ProtocolError, but never for a notification, which is not answered.
[[nodiscard]] Message read_message(std::string_view line, Json& id);

// The message has more than MOST_MESSAGE_BYTES.
[[nodiscard]] ProtocolError too_long();

// Messages to the client, each a line with its break. An `id` that is null is not known, and left
// out.
[[nodiscard]] std::string result_line(const Json& id, OrderedJson result);
[[nodiscard]] std::string error_line(const Json& id, const ProtocolError& error);
[[nodiscard]] std::string notification_line(std::string_view method, OrderedJson params);

}  // namespace velmora::host::agent
