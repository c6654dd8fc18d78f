// A symbol as it is shown by itself: its source, and where it stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "browse/limited_text.h"
#include "browse/source.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/symbol.h"

namespace velmora::host::browse {

struct Definition {
  index::Symbol symbol;
  std::vector<index::Symbol> around = {};  // what it stands in, the outermost first
  std::vector<index::Symbol> parts = {};   // its declarations, or its definition, by path
  std::optional<SourceLines> source = {};  // nothing when it cannot be read
};

// The definition of a symbol of the index; without its source when `root` is empty.
[[nodiscard]] Definition definition_of(index::Index& index, const std::filesystem::path& root,
                                       index::Symbol symbol);

// Its place, kind and name; what it stands in; where its other parts are; its docstring, unless
// that is among its lines; its lines with their numbers. What is left out are lines at its end.
[[nodiscard]] LimitedText definition_text(const Definition& definition,
                                          std::size_t most_characters = EVERY_CHARACTER);

// A symbol in one line: "src/store.py:48-55  method app.Store.size  Store.size() -> int  @4711".
// Its place and its id, the last, are what look_up takes.
[[nodiscard]] std::string symbol_line(const index::Symbol& symbol);

// Symbols to choose from, a line each.
[[nodiscard]] LimitedText symbols_text(std::span<const index::Symbol> symbols,
                                       std::size_t most_characters = EVERY_CHARACTER);

// "48-55", or "48" for one line.
[[nodiscard]] std::string line_range(std::int64_t first, std::int64_t last);
[[nodiscard]] std::string line_range(const index::Symbol& symbol);

// What stands for a symbol among others of its file: its signature, or its name without one, on one
// line, shortened.
[[nodiscard]] std::string title(const index::Symbol& symbol);

}  // namespace velmora::host::browse
