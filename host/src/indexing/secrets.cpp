#include "indexing/secrets.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace velmora::host::indexing {
namespace {

constexpr std::string_view HIDDEN = "...";

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
bool is_lower(char c) { return c >= 'a' && c <= 'z'; }
bool is_letter(char c) { return is_upper(c) || is_lower(c); }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
char lower(char c) { return is_upper(c) ? static_cast<char>(c | 0x20) : c; }

// What keys are written with, in base64 and its kin.
bool is_key_character(char c) {
  return is_digit(c) || is_letter(c) ||
         std::string_view("_-.+/=~").find(c) != std::string_view::npos;
}

// The end of the run of key characters that begins at `at`.
std::size_t run_end(std::string_view text, std::size_t at) {
  while (at < text.size() && is_key_character(text[at])) ++at;
  return at;
}

// Keys that name their kind by how they begin, and how many characters follow at least.
struct Shape {
  std::string_view beginning;
  std::size_t least;
};
constexpr Shape SHAPES[] = {
    {"AKIA", 16},        {"ASIA", 16},     {"AIza", 30},     {"ya29.", 20}, {"eyJ", 40},
    {"ghp_", 20},        {"gho_", 20},     {"ghu_", 20},     {"ghs_", 20},  {"ghr_", 20},
    {"github_pat_", 20}, {"glpat-", 16},   {"xoxb-", 16},    {"xoxp-", 16}, {"xoxa-", 16},
    {"xoxr-", 16},       {"xoxs-", 16},    {"xapp-", 16},    {"sk-", 20},   {"sk_live_", 16},
    {"sk_test_", 16},    {"rk_live_", 16}, {"rk_test_", 16}, {"npm_", 30},  {"pypi-", 30},
    {"hf_", 30},         {"SG.", 30},      {"dop_v1_", 30}};

// So much of a run tells whether it is one of them.
constexpr std::size_t ENOUGH = 128;

bool has_key_shape(std::string_view run) {
  return std::ranges::any_of(SHAPES, [run](const Shape& shape) {
    if (!run.starts_with(shape.beginning)) return false;
    const std::string_view rest = run.substr(shape.beginning.size());
    return rest.size() >= shape.least && std::ranges::any_of(rest, is_digit) &&
           std::ranges::any_of(rest, is_letter);
  });
}

// The length of what is a private key at `at`, from its first line to its last; 0 when none begins.
std::size_t private_key(std::string_view text, std::size_t at) {
  constexpr std::string_view BEGIN = "-----BEGIN ", END = "-----END ", LINE = "-----";
  constexpr std::size_t LONGEST_TITLE = 40;
  if (!text.substr(at).starts_with(BEGIN)) return 0;
  const std::string_view title = text.substr(at + BEGIN.size(), LONGEST_TITLE);
  if (title.substr(0, title.find(LINE)).find("PRIVATE KEY") == title.npos) return 0;
  const std::size_t end = text.find(END, at);
  const std::size_t stop = end == text.npos ? end : text.find(LINE, end + END.size());
  return (stop == text.npos ? text.size() : stop + LINE.size()) - at;
}

// The password of "//user:password@" at `at`; empty when there is none.
std::string_view password_of_url(std::string_view text, std::size_t at) {
  if (!text.substr(at).starts_with("//")) return {};
  const std::size_t user = at + 2;
  const std::size_t stop = std::min(text.find_first_of("@/ \t\n\"'`<>?#", user), text.size());
  if (stop == text.size() || text[stop] != '@') return {};
  const std::string_view login = text.substr(user, stop - user);
  const std::size_t colon = login.find(':');
  return colon == login.npos ? std::string_view() : login.substr(colon + 1);
}

bool is_uuid(std::string_view run) {
  constexpr std::string_view PATTERN = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  return std::ranges::equal(run, PATTERN,
                            [](char c, char p) { return p == 'x' ? is_hex(c) : c == p; });
}

// Whether a run of key characters looks drawn at random. In words, even run together, letters and
// digits keep to themselves and capitals begin words; in a random text of letters and digits nearly
// every second character is of another kind than the one before.
bool looks_random(std::string_view run) {
  constexpr std::size_t SHORTEST = 16;
  constexpr std::size_t SHORTEST_HEX = 32;
  if (run.size() < SHORTEST || is_uuid(run)) return false;
  std::size_t changes = 0;
  for (std::size_t i = 1; i < run.size(); ++i) {
    const char before = run[i - 1];
    const char c = run[i];
    changes += (is_digit(before) && is_letter(c)) || (is_letter(before) && is_digit(c)) ||
               (is_lower(before) && is_upper(c));
  }
  const bool hex = run.size() >= SHORTEST_HEX && std::ranges::all_of(run, is_hex);
  return changes * 10 >= (hex ? 2 : 3) * (run.size() - 1);
}

bool holds_random(std::string_view literal) {
  for (std::size_t at = 0; at < literal.size();) {
    const std::size_t end = run_end(literal, at);
    if (looks_random(literal.substr(at, end - at))) return true;
    at = end + 1;
  }
  return false;
}

// Whether names of these words, in lower case, are those of secrets.
bool are_secret(const std::vector<std::string>& words) {
  constexpr std::array<std::string_view, 9> ANYWHERE = {"password",   "passwords",  "passwd",
                                                        "passphrase", "secret",     "secrets",
                                                        "apikey",     "credential", "credentials"};
  constexpr std::array<std::string_view, 9> BEFORE_KEY = {
      "api", "access", "private", "auth", "encryption", "signing", "master", "session", "account"};
  const auto is_in = [](const auto& list, const std::string& word) {
    return std::ranges::find(list, word) != list.end();
  };
  std::size_t count = words.size();
  // "TOKEN_2"
  while (count > 0 && std::ranges::all_of(words[count - 1], is_digit)) --count;
  for (std::size_t i = 0; i < count; ++i) {
    if (is_in(ANYWHERE, words[i])) return true;
    if (i > 0 && words[i].starts_with("key") && is_in(BEFORE_KEY, words[i - 1])) return true;
  }
  // A parser's TOKEN_END is none, an ACCESS_TOKEN is.
  constexpr std::array<std::string_view, 3> LAST = {"token", "pwd", "pw"};
  return count > 0 && is_in(LAST, words[count - 1]);
}

// Whether an identifier of the text is the name of a secret.
bool names_secret(std::string_view text) {
  std::vector<std::string> words;  // of the identifier that is read
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (!is_letter(c) && !is_digit(c)) {
      if (c != '_' && c != '-' && are_secret(words)) return true;
      if (c != '_' && c != '-') words.clear();
      continue;
    }
    const char before = i == 0 ? ' ' : text[i - 1];
    const bool goes_on = is_digit(c)   ? is_digit(before)
                         : is_upper(c) ? is_upper(before)
                                       : is_letter(before);
    if (goes_on && !words.empty()) {
      words.back() += lower(c);
    } else {
      words.emplace_back(1, lower(c));
    }
  }
  return are_secret(words);
}

// Walks a signature from literal to literal.
class Hiding {
 public:
  explicit Hiding(std::string_view text) : text_(text) {
    // "PASSWORDS = [...]": what the whole signature is about, unless it is a function.
    const std::size_t end = std::min(text.find_first_of("=("), text.size());
    is_secret_ = (end == text.size() || text[end] == '=') && names_secret(text.substr(0, end));
  }

  std::string run() && {
    std::size_t clause = 0;  // where what may name the next literal begins
    for (std::size_t at = 0; at < text_.size();) {
      const char c = text_[at];
      if (std::string_view(",;({[").find(c) != std::string_view::npos) clause = at + 1;
      const std::size_t end = opens_literal(at) ? literal_end(at) : std::string_view::npos;
      if (end == std::string_view::npos) {
        out_ += text_[at++];
        continue;
      }
      const std::string_view literal = text_.substr(at + 1, end - at - 1);
      const bool hide =
          !literal.empty() &&
          (is_secret_ || names_secret(text_.substr(clause, at - clause)) || holds_random(literal));
      out_.append(1, c).append(hide ? HIDDEN : literal).append(1, c);
      // {"password": "x"}: the first names the second.
      const std::size_t next = text_.find_first_not_of(' ', end + 1);
      const bool is_name = next != std::string_view::npos &&
                           (text_[next] == ':' || text_.substr(next).starts_with("=>"));
      clause = is_name ? at : end + 1;
      at = end + 1;
    }
    return std::move(out_);
  }

 private:
  // An apostrophe may also be part of a type or a number: 'a in &'a str, 1'000.
  bool opens_literal(std::size_t at) const {
    const char c = text_[at];
    if (c == '"' || c == '`') return true;
    if (c != '\'') return false;
    std::size_t before = at;
    while (before > 0 && text_[before - 1] == ' ') --before;
    if (before == 0) return true;
    const char sign = text_[before - 1];
    return std::string_view("=([{,:?>+.").find(sign) != std::string_view::npos ||
           (before == at && is_letter(sign));
  }

  // The place of the quote that closes the literal at `at`, or nothing. Each kind of quote that is
  // not found once is not looked for again.
  std::size_t literal_end(std::size_t at) {
    const char quote = text_[at];
    bool& is_missing = quote == '"' ? no_double_ : quote == '`' ? no_back_ : no_single_;
    if (is_missing) return std::string_view::npos;
    for (std::size_t i = at + 1; i < text_.size(); ++i) {
      if (text_[i] == '\\') {
        ++i;
      } else if (text_[i] == quote) {
        return i;
      }
    }
    is_missing = true;
    return std::string_view::npos;
  }

  std::string_view text_;
  std::string out_;
  bool is_secret_ = false;
  bool no_double_ = false;
  bool no_single_ = false;
  bool no_back_ = false;
};

}  // namespace

// Few characters begin something to hide; by the first of them most places are passed over.
std::string without_keys(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    if (const std::size_t length = c == '-' ? private_key(text, at) : 0; length > 0) {
      out += HIDDEN;
      at += length;
      continue;
    }
    const std::string_view password = c == '/' ? password_of_url(text, at) : std::string_view();
    if (!password.empty()) {
      const auto start = static_cast<std::size_t>(password.data() - text.data());
      out.append(text.substr(at, start - at)).append(HIDDEN);
      at = start + password.size();
      continue;
    }
    // Where a word begins; what goes on is no beginning of a key.
    const bool begins = at == 0 || !(is_letter(text[at - 1]) || is_digit(text[at - 1]) ||
                                     text[at - 1] == '_' || text[at - 1] == '-');
    if (begins && std::ranges::any_of(SHAPES, [&](const Shape& shape) {
          return shape.beginning.front() == c && text.substr(at).starts_with(shape.beginning);
        })) {
      const std::string_view near = text.substr(at, ENOUGH);
      if (has_key_shape(near.substr(0, run_end(near, 0)))) {
        out += HIDDEN;
        at = run_end(text, at);
        continue;
      }
    }
    out += text[at++];
  }
  return out;
}

std::string without_secrets(std::string_view signature) {
  const std::string text = without_keys(signature);
  return Hiding(text).run();
}

}  // namespace velmora::host::indexing
