// Rust.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_rust(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out);

// The module of a file: its crate, where the path tells it, and the folders and file below "src".
[[nodiscard]] std::string rust_module(std::string_view path);

}  // namespace velmora::host::indexing
