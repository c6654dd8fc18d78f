// A source file as its parser sees it.
#pragma once

#include <tree_sitter/api.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/extract.h"
#include "indexing/language.h"
#include "velmora/host/index/symbol.h"

namespace velmora::host::indexing {

// The syntax tree of one file in one language. Path and source must outlive it.
class ParsedFile {
 public:
  // `language` is named as in SOURCE_LANGUAGES; the path tells its dialect. Throws
  // std::invalid_argument for an unknown one.
  ParsedFile(std::string_view language, std::string_view path, std::string_view source);

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
[[nodiscard]] std::vector<index::Symbol> find_symbols(const ParsedFile& file);

}  // namespace velmora::host::indexing
