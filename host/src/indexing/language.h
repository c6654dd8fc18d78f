// What the indexer knows of each language. A language is one row of the table in language.cpp, a
// query that finds its definitions (queries/), and a function that names them; languages of one
// family share that function.
#pragma once

#include <tree_sitter/api.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/source.h"

namespace velmora::host::indexing {

// A definition as a query found it. Absent nodes are null.
struct Found {
  std::string_view kind = {};  // as the query calls it: "class" of "@definition.class"
  TSNode node = {};
  TSNode name = {};
};

// Something that encloses a definition.
struct Enclosing {
  enum class Role { scope, type, wrapper, friends, guard, local };
  Role role = Role::scope;
  Range range = {};
  std::string name = {};  // of a scope, a type or a guard
  std::uint32_t start_row = 0;
  bool used = false;  // a wrapper that has found the definition it stands before
};

// A symbol that a definition declares; the rest of it follows from where it stands.
struct Declared {
  std::string kind = {};
  std::string qualifier = {};  // what the source writes before the name, without template arguments
  std::string name = {};
  std::string arguments =
      {};  // after the name in the signature only: the arguments of a specialisation
  std::string signature = {};                 // what follows the qualified name
  std::optional<std::string> docstring = {};  // one that stands inside the definition
  bool outside_types = false;                 // a friend: it belongs to the scope around the class
};

// Adds what a definition declares: nothing, one symbol or several.
using Describe = void (*)(const Found& found, std::span<const Enclosing> enclosing,
                          const Source& source, std::vector<Declared>& out);

struct Language {
  std::string_view name;                         // as the index stores it
  std::span<const std::string_view> extensions;  // with the dot; case counts
  const TSLanguage* (*grammar)();
  std::span<const std::string_view> queries;  // one after the other
  std::string_view separator;  // between the parts of a qualified name; empty: names are not scoped
  std::span<const std::string_view> line_comments;  // the markers, longer ones first
  Describe describe;
  // What the parser is to see instead of the source, of the same length; null: the source.
  std::string (*prepare)(std::string_view source);
  // The scope that the file itself is, from its path; null: none.
  std::string (*module)(std::string_view path);
  // The docstring of the file itself, a null node when there is none; null: there is no such thing.
  TSNode (*module_docstring)(TSNode root);
  // The prose in the text of a comment above a definition; null: all of it.
  std::string (*documentation)(const std::string& text) = nullptr;
};

// The language named so, or null.
[[nodiscard]] const Language* find_language(std::string_view name);

// The language that the extension of `path` tells, or null. A .h file is "c" here: what it really
// is depends on the files around it.
[[nodiscard]] const Language* language_of(std::string_view path);

}  // namespace velmora::host::indexing
