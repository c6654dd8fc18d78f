// One pattern of an ignore file, matched as git matches it.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::indexing {

// Matches a whole path. A star and a question mark stand for no slash, nor does a set in brackets;
// two stars between slashes, or at either end beside one, stand for any number of folders; a
// backslash takes the next character as it is. Bytes are compared, case counts. A pattern with an
// open bracket, an unknown class of characters or a lone backslash at its end matches nothing.
//
// Time is at most proportional to the product of the two lengths. Immutable.
class Glob {
 public:
  explicit Glob(std::string_view pattern);

  // False for a pattern that matches nothing whatever the path.
  [[nodiscard]] bool is_possible() const { return possible_; }

  // Adds to `steps` what it took, at least one.
  [[nodiscard]] bool matches(std::string_view path, std::uint64_t& steps) const;

 private:
  enum class Kind : std::uint8_t {
    literal,
    any,            // ?
    set,            // [...]
    star,           // *
    stars,          // **, at the end
    maybe_folders,  // the beginning of **/, which may be passed over with the token that follows
    folders,        // the rest of it: up to a slash
  };
  struct Token {
    Kind kind;
    char literal = '\0';
    std::uint32_t set = 0;
  };
  void compile(std::string_view pattern);
  [[nodiscard]] bool accepts(const Token& token, char c) const;
  [[nodiscard]] bool middle_matches(std::string_view text, std::uint64_t& steps) const;

  std::string beginning_;  // literal, before the tokens
  std::vector<Token> tokens_;
  std::string end_;  // literal, after the tokens
  std::vector<std::bitset<256>> sets_;
  bool possible_ = true;
};

}  // namespace velmora::host::indexing
