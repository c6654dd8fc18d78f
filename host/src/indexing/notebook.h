// Jupyter notebooks: JSON with the cells' code in strings, a string a line.
#pragma once

#include <string_view>

#include "indexing/embedded_source.h"

namespace velmora::host::indexing {

// Objects and lists within others; deeper ones are no notebook.
inline constexpr int DEEPEST_NOTEBOOK = 256;

// The code of the cells, each line on the line of the file where its string stands: that is where
// other programs find it, too. Commands of the notebook itself ("%matplotlib inline", "!ls", whole
// cells of another language) are left out. It is in the language that the notebook tells, in
// `language` when it tells none. Nothing but a fault when the content is no notebook, when its
// language is none that is built in, or when a string holds several lines.
[[nodiscard]] EmbeddedSource source_of_notebook(std::string_view language,
                                                std::string_view content);

}  // namespace velmora::host::indexing
