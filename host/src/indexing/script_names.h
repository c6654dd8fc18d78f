// How things of JavaScript and TypeScript are called.
#pragma once

#include <tree_sitter/api.h>

#include <optional>
#include <string>
#include <string_view>

#include "indexing/source.h"

namespace velmora::host::indexing {

// What those who import a file call it: its name up to the first dot, or that of its folder where
// the file is the index of one: "cart" for "web/cart.js", "store" for "store/src/index.ts".
[[nodiscard]] std::string script_module(std::string_view path);

// What a property is called by those who use it.
struct PropertyName {
  std::string text = {};   // "Cart.show", "open"; empty: what the file exports as a whole
  bool inherited = false;  // it is one of a prototype
  bool global = false;     // it is one of the global object
};

// The name of "Cart.prototype.show", "exports.open", "module.exports", "window.api". Nothing where
// it is that of no known object: "make().it", "this.size".
[[nodiscard]] std::optional<PropertyName> property_name(TSNode node, const Source& source);

// The name of a field or method without quotes; nothing for numbers, and for texts that are no
// names.
[[nodiscard]] std::optional<std::string> key_name(TSNode key, const Source& source);

}  // namespace velmora::host::indexing
