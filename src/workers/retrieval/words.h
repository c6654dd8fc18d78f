// The one word splitter that questions and stored texts share.
//
// A word is what the pattern [A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+|[A-Z]+|[0-9]+ finds, in lower case.
// It is scanned by hand: in one pass, without recursion, byte by byte, since every byte of a
// character outside ASCII separates words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora::workers::retrieval::internal {

constexpr bool is_capital(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool is_small(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool is_number(char c) { return c >= '0' && c <= '9'; }

// Cuts the words out of a text, one at a time, as they are written there.
class WordScanner {
 public:
  explicit WordScanner(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  // The next word, in its own case; empty when there is none left.
  std::string_view next() {
    while (at_ != end_) {
      const char* start = at_;
      const char first = *at_++;
      if (is_small(first)) {
        skip(is_small);
      } else if (is_capital(first)) {
        skip(is_capital);
        if (at_ != end_ && is_small(*at_)) {
          // The last capital of a run belongs to the word that it begins: HTTPServer is HTTP,
          // Server.
          if (at_ - start > 1) {
            --at_;
          } else {
            skip(is_small);
          }
        }
      } else if (is_number(first)) {
        skip(is_number);
      } else {
        continue;
      }
      return {start, static_cast<std::size_t>(at_ - start)};
    }
    return {};
  }

 private:
  template <class Accepts>
  void skip(Accepts accepts) {
    while (at_ != end_ && accepts(*at_)) ++at_;
  }

  const char* at_;
  const char* end_;
};

// Appends a word of the scanner to `out` in lower case.
void append_lowercase(std::string& out, std::string_view word);

}  // namespace velmora::workers::retrieval::internal
