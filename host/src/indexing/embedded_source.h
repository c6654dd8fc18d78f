// Source that stands in a file among other things: the scripts of a component (.vue, .svelte), the
// code of a notebook (.ipynb).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora::host::indexing {

struct EmbeddedSource {
  std::string_view language = {};  // one that is built in
  // What is to be parsed in place of the file: whatever stands on a line of it stands on that line
  // of the file. No longer than the file.
  std::string text = {};
  // Why the file has to be left out, in a few words that stand after a path; empty: it has not.
  std::string_view fault = {};
};

// The source in the file at `path`, which has that content and is expected to be in `language`, one
// that is built in. Nothing when the whole file is source. Takes time and memory in proportion to
// the content.
[[nodiscard]] std::optional<EmbeddedSource> embedded_source(std::string_view path,
                                                            std::string_view language,
                                                            std::string_view content);

// The same for those kinds of files whose source is not legible in them as it stands, but stands
// line by line.
[[nodiscard]] std::optional<std::string> legible_source(std::string_view path,
                                                        std::string_view content);

}  // namespace velmora::host::indexing
