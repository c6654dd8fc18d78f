#include "indexing/parse_message.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "indexing/extract.h"

namespace velmora::host::indexing {
namespace {

class Writer {
 public:
  Writer() : bytes_(sizeof(MessageLength), '\0') {}

  template <class Number>
  void number(Number value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  void text(std::string_view text) {
    number<std::uint64_t>(text.size());
    bytes_ += text;
  }

  void optional_text(const std::optional<std::string>& text) {
    number<std::uint8_t>(text.has_value());
    if (text) this->text(*text);
  }

  std::string take() {
    const MessageLength length = bytes_.size() - sizeof(MessageLength);
    std::memcpy(bytes_.data(), &length, sizeof length);
    return std::move(bytes_);
  }

 private:
  std::string bytes_;
};

// After a part that is not there, or is longer than the message, everything is empty and the
// message is not sound.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  template <class Number>
  Number number() {
    Number value = 0;
    const std::string_view part = take(sizeof value);
    if (!part.empty()) std::memcpy(&value, part.data(), sizeof value);
    return value;
  }

  std::string_view text() { return take(number<std::uint64_t>()); }

  std::optional<std::string> optional_text() {
    if (number<std::uint8_t>() == 0) return std::nullopt;
    return std::string(text());
  }

  [[nodiscard]] bool more() const { return sound_ && !bytes_.empty(); }
  [[nodiscard]] bool done() const { return sound_ && bytes_.empty(); }

 private:
  std::string_view take(std::uint64_t size) {
    if (!sound_ || size > bytes_.size()) {
      sound_ = false;
      return {};
    }
    const std::string_view part = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return part;
  }

  std::string_view bytes_;
  bool sound_ = true;
};

bool is_plausible(const index::Symbol& symbol, std::int64_t lines) {
  return !symbol.name.empty() && !symbol.fqn.empty() && !symbol.kind.empty() &&
         symbol.start_line >= 1 && symbol.start_line <= symbol.end_line &&
         symbol.end_line <= lines && symbol.words.size() <= LONGEST_BODY_WORDS;
}

}  // namespace

std::string to_message(const ParseRequest& request, const ParseBounds& bounds) {
  Writer message;
  message.number<std::int64_t>(bounds.time.count());
  message.number<std::uint64_t>(bounds.memory);
  message.number<std::uint8_t>(request.is_header);
  message.text(request.language);
  message.text(request.path);
  message.text(request.source);
  return message.take();
}

std::optional<ParseRequest> read_request(std::string_view message, ParseBounds& bounds) {
  Reader reader(message);
  bounds.time = std::chrono::microseconds(reader.number<std::int64_t>());
  bounds.memory = reader.number<std::uint64_t>();
  ParseRequest request;
  request.is_header = reader.number<std::uint8_t>() != 0;
  request.language = reader.text();
  request.path = reader.text();
  request.source = reader.text();
  if (!reader.done()) return std::nullopt;
  return request;
}

std::string to_message(const ParseAnswer& answer) {
  Writer message;
  message.text(answer.language);
  for (const index::Symbol& symbol : answer.symbols) {
    message.text(symbol.fqn);
    message.text(symbol.name);
    message.text(symbol.kind);
    message.number(symbol.start_line);
    message.number(symbol.end_line);
    message.optional_text(symbol.signature);
    message.optional_text(symbol.docstring);
    message.text(symbol.words);
  }
  return message.take();
}

std::size_t longest_answer(const ParseRequest& request) {
  // What a symbol takes beside its texts is less than the overhead that each is charged.
  return SYMBOL_OVERHEAD + most_symbol_bytes(request.source.size());
}

std::optional<ParseAnswer> read_answer(std::string_view message, const ParseRequest& request) {
  Reader reader(message);
  ParseAnswer answer;
  answer.language = reader.text();
  const bool other = request.is_header && (answer.language == "objc" ||
                                           (request.language == "c" && answer.language == "cpp"));
  if (answer.language != request.language && !other) return std::nullopt;
  const std::int64_t lines = 1 + std::ranges::count(request.source, '\n');
  while (reader.more()) {
    index::Symbol symbol;
    symbol.language = answer.language;
    symbol.path = request.path;
    symbol.fqn = reader.text();
    symbol.name = reader.text();
    symbol.kind = reader.text();
    symbol.start_line = reader.number<std::int64_t>();
    symbol.end_line = reader.number<std::int64_t>();
    symbol.signature = reader.optional_text();
    symbol.docstring = reader.optional_text();
    symbol.words = reader.text();
    if (!is_plausible(symbol, lines)) return std::nullopt;
    answer.symbols.push_back(std::move(symbol));
  }
  if (!reader.done()) return std::nullopt;
  return answer;
}

}  // namespace velmora::host::indexing
