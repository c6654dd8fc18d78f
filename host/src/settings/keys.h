// What can be set: one table, from which parsing, precedence, the errors and `velmora config`
// follow.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace velmora::host::settings {

enum class Type {
  integer,
  number,
  boolean,
  text,
  globs,      // a list
  languages,  // a table: glob = language
};

// In which files a key may stand. Each may be set by a variable of the environment.
enum class Files {
  none,  // it is a secret
  user,  // what a stranger must not say: whom to ask, what to open, what may be sent
  both,
};

struct Key {
  std::string_view name;  // with the tables that it stands in: "ranking.rrf_k"
  Type type = Type::text;
  std::string_view standard;  // when nobody sets it, as a variable would say it; "" is no value
  std::string_view meaning;   // a few words
  Files files = Files::user;
  // Of numbers; what is no whole one may be 0 too. A repository's file may say less than a user's,
  // where much is a danger.
  double least = 0;
  double most = 0;
  double most_of_repository = most;
  // The option that says it for one call, and the command that has it; "" is every one that does.
  std::string_view option = {};
  std::string_view command = {};
};

// Those of a table stand together.
[[nodiscard]] std::span<const Key> all_keys();

// Null when there is none.
[[nodiscard]] const Key* find_key(std::string_view name);

// Whether keys stand in a table of this name.
[[nodiscard]] bool is_table(std::string_view name);

// The variable of the environment that sets a key: "VELMORA_RANKING_RRF_K" of "ranking.rrf_k".
[[nodiscard]] std::string variable_of(const Key& key);

// What the value of a key is: "a whole number from 1 to 1000".
[[nodiscard]] std::string wanted(const Key& key, bool of_repository);

// Where a key may stand: "the environment (VELMORA_MODEL) or your own settings".
[[nodiscard]] std::string places_of(const Key& key);

// The key or table that somebody may have meant by one that there is none of, or "": one edit from
// it, or the key without its tables.
[[nodiscard]] std::string_view near_key(std::string_view name);

}  // namespace velmora::host::settings
