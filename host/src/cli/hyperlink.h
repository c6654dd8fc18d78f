// Links that terminals open (the escape sequence OSC 8).
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::host::cli {

// The url of a place in a file, as an editor or a file manager wants it.
class HyperlinkFormat {
 public:
  // `choice` is one of hyperlink_aliases() or a format with {path}, and if wanted {line}, {column}
  // and {host}. Nothing for "none". Throws std::invalid_argument, which says what is wrong with it.
  [[nodiscard]] static std::optional<HyperlinkFormat> of(std::string_view choice);

  // The url of a line of the file at the absolute `path`; what a url cannot hold is escaped. Line
  // and column count from 1.
  [[nodiscard]] std::string url(const std::filesystem::path& path, std::int64_t line,
                                std::int64_t column) const;

 private:
  explicit HyperlinkFormat(std::string_view format) : format_(format) {}

  std::string format_;
};

// The names that --hyperlink-format takes, in alphabetical order, with commas.
[[nodiscard]] std::string hyperlink_aliases();

// `text` as a link to `url`.
[[nodiscard]] std::string linked(std::string_view text, std::string_view url);

}  // namespace velmora::host::cli
