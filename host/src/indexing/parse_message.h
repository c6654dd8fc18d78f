// What a scan and the processes that parse for it say to each other: each message is its length and
// its parts, numbers in the machine's own order.
//
// The process that parses may have fallen to the file that it read: to the scan its answer is a
// stranger's. It is read within bounds, and taken when it is one that extract_symbols could give.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/host/index/symbol.h"

namespace velmora::host::indexing {

struct ParseRequest {
  std::string_view language;  // as in SOURCE_LANGUAGES
  // The file is a .h that may be C or C++: in the language "c" its content decides.
  bool is_header = false;
  std::string_view path;
  std::string_view source;
};

struct ParseAnswer {
  std::string language;  // that of the request, but for a header
  std::vector<index::Symbol> symbols;
};

// What the process that parses must not exceed.
struct ParseBounds {
  std::chrono::microseconds time{};  // of the processor
  std::size_t memory = 0;            // in bytes
};

// How the process ends when a file takes too much of something.
enum class ParseExit { memory = 3, symbols = 4 };

// The length in front of a message.
using MessageLength = std::uint64_t;

// Messages with their lengths.
[[nodiscard]] std::string to_message(const ParseRequest& request, const ParseBounds& bounds);
[[nodiscard]] std::string to_message(const ParseAnswer& answer);

// The longest answer to a request, without the length in front.
[[nodiscard]] std::size_t longest_answer(const ParseRequest& request);

// Reads a message without its length. The parts of a request are in the message. Nothing when it is
// none.
[[nodiscard]] std::optional<ParseRequest> read_request(std::string_view message,
                                                       ParseBounds& bounds);
[[nodiscard]] std::optional<ParseAnswer> read_answer(std::string_view message,
                                                     const ParseRequest& request);

}  // namespace velmora::host::indexing
