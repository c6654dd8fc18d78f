// A symbol among others of its file, in few characters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::host::agent {

// What is known of it.
struct LabelParts {
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;
  std::string_view kind;
  std::string_view name;
  std::string_view fqn;
  std::optional<std::string_view> signature = {};
};

template <class Symbol>  // index::Symbol, or what a hit has
[[nodiscard]] LabelParts parts_of(const Symbol& symbol) {
  return {.start_line = symbol.start_line,
          .end_line = symbol.end_line,
          .kind = symbol.kind,
          .name = symbol.name,
          .fqn = symbol.fqn,
          .signature = symbol.signature};
}

// "4-5 method Store.size: def size(self):". What the file's path tells anyway is left out: the
// signature stands for the name where it has it, and for a member where it has its class too. On
// one line that may be shown, without its break.
[[nodiscard]] std::string label(const LabelParts& symbol);

}  // namespace velmora::host::agent
