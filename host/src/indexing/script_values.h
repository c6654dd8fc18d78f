// What a name of JavaScript or TypeScript may stand for.
#pragma once

#include <tree_sitter/api.h>

#include <string>

#include "indexing/source.h"

namespace velmora::host::indexing {

// The function that calling `value` calls: itself, or one that is handed to what wraps it, as
// "memo((props) => ...)", "debounce(save, 300)" with a function in place of "save". A null node
// when there is none; so for calls that take a function and return no other, as "list.map(...)".
[[nodiscard]] TSNode function_of(TSNode value, const Source& source);

// "<T>(item: T): Result" of a function, without its own name.
[[nodiscard]] std::string function_signature(TSNode function, const Source& source);

// " extends Base" of a class that something else names.
[[nodiscard]] std::string class_signature(TSNode value, const Source& source);

}  // namespace velmora::host::indexing
