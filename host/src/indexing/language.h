// What the indexer knows of each language: a file in languages/ with the row that describes it and
// the function that names its definitions, and a query that finds them (queries/). Languages of one
// family share functions.
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
  TSNode last = {};   // a node behind the definition that still belongs to it
  TSNode owner = {};  // the node that it stands in, where that matters
};

// Something that encloses a definition.
struct Enclosing {
  enum class Role {
    scope,      // a namespace
    type,       // a class, or what else may have methods
    open,       // the body of a function that is called where it stands: nothing is local to it
    wrapper,    // begins with what belongs to the definition in it: a decorator, "export"
    group,      // a wrapper around several: each begins at its own name
    friends,    // "friend": what is in it belongs to the scope around the class
    singleton,  // "class << self"
    condition,  // "#ifdef"; the name that it asks for may be the guard of the file
    returned,   // a type that a function makes: it counts though it is local to the function
    local       // what is in it does not count
  };
  Role role = Role::scope;
  Range range = {};
  std::string name = {};  // of a scope, a type, a singleton or a condition; a template's parameters
  std::uint32_t start_row = 0;
  bool used = false;    // a wrapper that has found the definition it stands before
  bool global = false;  // what is around a type or scope does not qualify what is in it
  bool broken = false;  // of what is local: the parser did not understand all that is in it
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
  bool global = false;  // what is around does not qualify it, nor what stands in it
  std::optional<Enclosing::Role> only =
      {};                           // no symbol: it encloses what stands in it, in this role
  std::string_view separator = {};  // before the name, where it is not that of the language
  // What tells apart definitions that follow each other under one qualified name: those with the
  // same are clauses of one. Empty: this one stands alone.
  std::string clause = {};
  bool hides = false;  // what is in it does not count, which no query tells
};

class Comments;

// What a file says of itself.
struct ModuleDocstring {
  Range range = {};  // what stands for the file; comments before its end document nothing else
  std::string text = {};
  std::string name = {};  // empty: that of the scope that the file is
};

// Adds what a definition declares: nothing, one symbol or several.
using Describe = void (*)(const Found& found, std::span<const Enclosing> enclosing,
                          const Source& source, std::vector<Declared>& out);

struct Language {
  std::string_view name;            // as the index stores it
  std::string_view extension = {};  // of a dialect: its files alone are read so
  const TSLanguage* (*grammar)();
  std::span<const std::string_view> queries;  // one after the other
  std::string_view separator;  // between the parts of a qualified name; empty: names are not scoped
  std::span<const std::string_view> line_comments;  // the markers, longer ones first
  Describe describe;
  // What the parser is to see instead of the source, of the same length; null: the source.
  std::string (*prepare)(std::string_view source) = nullptr;
  // What a scope or a type is called, from the node that names it; null: as the source writes it.
  std::string (*scope_name)(TSNode name, const Source& source) = nullptr;
  // The scope that the file itself is, from its path; null: none.
  std::string (*module)(std::string_view path) = nullptr;
  // The docstring of the file itself; null: there is no such thing.
  std::optional<ModuleDocstring> (*module_docstring)(TSNode root, const Source& source,
                                                     const Comments& comments) = nullptr;
  // No function stands in another one: where the parser lost a brace, one at the beginning of a
  // line ends those that seem to enclose it.
  bool flat_functions = false;
  // The prose in the text of a comment above a definition; null: all of it.
  std::string (*documentation)(const std::string& text) = nullptr;
};

// The markers of line comments in most languages.
inline constexpr std::string_view SLASH_COMMENTS[] = {"///", "//!", "//"};

// The language named so, in the dialect that the path tells, or null.
[[nodiscard]] const Language* find_language(std::string_view name, std::string_view path);

}  // namespace velmora::host::indexing
