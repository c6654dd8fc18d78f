// Naming what the queries for Kotlin, Scala and Swift find: languages that write the result last.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_kotlin(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out);
void describe_scala(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out);
void describe_swift(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                    std::vector<Declared>& out);

// The source with the "fun" of "fun interface" blanked: the parser would take it for a function.
[[nodiscard]] std::string blank_fun_interfaces(std::string_view source);

}  // namespace velmora::host::indexing
