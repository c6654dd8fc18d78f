// A source file as its parser sees it.
#pragma once

#include <tree_sitter/api.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/indexing/extract.h"

namespace velmora::host::indexing {

// The language named so, in the dialect that the path tells. Throws std::invalid_argument.
[[nodiscard]] const Language& language_named(std::string_view name, std::string_view path);

// Compiles what finds the definitions of a language, once: that must not cost the first file its
// time.
void load_query(const Language& language);

// When work on a file ends, whichever of its steps it is at.
class Deadline {
 public:
  explicit Deadline(std::chrono::microseconds timeout)
      : end_(std::chrono::steady_clock::now() + timeout) {}

  // What is left in microseconds, at least 1. Throws ExtractError when nothing is.
  [[nodiscard]] std::uint64_t left() const;
  void check() const { static_cast<void>(left()); }

 private:
  std::chrono::steady_clock::time_point end_;
};

// The syntax tree of one file in one language. Path and source must outlive it.
class ParsedFile {
 public:
  // `language` is named as in SOURCE_LANGUAGES; the path tells its dialect. Throws as
  // extract_symbols does.
  ParsedFile(std::string_view language, std::string_view path, std::string_view source,
             const Deadline& deadline);

  [[nodiscard]] const Language& language() const { return language_; }
  [[nodiscard]] std::string_view path() const { return path_; }
  [[nodiscard]] std::string_view source() const { return source_; }
  // What the parser read: as long as the source.
  [[nodiscard]] std::string_view text() const;
  [[nodiscard]] TSNode root() const { return ts_tree_root_node(tree_.get()); }

  // How many places the parser could make nothing of.
  [[nodiscard]] std::size_t count_errors() const;

 private:
  struct Delete {
    void operator()(TSTree* tree) const { ts_tree_delete(tree); }
  };
  const Language& language_;
  std::string_view path_;
  std::string_view source_;
  std::string prepared_;  // when the language has the parser read something else
  std::unique_ptr<TSTree, Delete> tree_;
};

// The symbols of a file, as extract_symbols promises them.
[[nodiscard]] std::vector<index::Symbol> find_symbols(const ParsedFile& file,
                                                      const Deadline& deadline);

}  // namespace velmora::host::indexing
