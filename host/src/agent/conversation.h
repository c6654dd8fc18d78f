// What is said to a client of the Model Context Protocol, in both of its eras.
//
// Modern (2026-07-28): every request says in its `_meta` which version it speaks, and nothing is
// remembered between requests. Legacy (2024-11-05 to 2025-11-25): the client opens with
// `initialize`; afterwards its requests need no `_meta`. A request that carries the modern `_meta`
// is modern, whatever came before.
//
// One thread uses a conversation. Nothing here waits or does any input or output.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "agent/message.h"
#include "agent/tool.h"

namespace velmora::host::agent {

inline constexpr std::array<std::string_view, 1> MODERN_VERSIONS = {"2026-07-28"};
// The newest first.
inline constexpr std::array<std::string_view, 4> LEGACY_VERSIONS = {"2025-11-25", "2025-06-18",
                                                                    "2025-03-26", "2024-11-05"};

// A longer line that calls a tool is refused: no argument is so long. What waits for its turn takes
// little room by that.
inline constexpr std::size_t LONGEST_CALL = 256 << 10;

enum class Era { legacy, modern };

// The client calls a tool.
struct Call {
  Json id = nullptr;
  Era era = Era::legacy;
  const Tool* tool = nullptr;
  Json arguments = nullptr;
  Json progress_token = nullptr;  // null: no progress is wanted
};

// The client takes no answer to the request with this id any more.
struct Cancellation {
  Json id;
};

struct Nothing {};

class Conversation {
 public:
  // What a message asks for: a line to send back, a call to make, a call to end, or nothing.
  using Step = std::variant<Nothing, std::string, Call, Cancellation>;

  // `line` is one message. Never throws for what it says.
  [[nodiscard]] Step take(std::string_view line);

 private:
  [[nodiscard]] Step take_request(Message message, std::size_t size);
  [[nodiscard]] Era era_of(const Message& message) const;

  bool is_initialized_ = false;  // by a legacy client
};

// The line that answers a call.
[[nodiscard]] std::string answer_line(const Call& call, const ToolAnswer& answer);

// The line that tells of the progress of a call that has a token; `progress` rises.
[[nodiscard]] std::string progress_line(const Call& call, std::int64_t progress,
                                        const std::string& message);

}  // namespace velmora::host::agent
