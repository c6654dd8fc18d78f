// Components of web pages: markup, styles and scripts in one file.
#pragma once

#include <string_view>

#include "indexing/embedded_source.h"

namespace velmora::host::indexing {

// The text between <script> and </script>, everything else blanked. It is TypeScript when one of
// the scripts says so, and otherwise in `language`; scripts in yet other languages are passed over.
[[nodiscard]] EmbeddedSource source_of_component(std::string_view language,
                                                 std::string_view content);

}  // namespace velmora::host::indexing
