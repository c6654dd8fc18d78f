// Naming what the queries for Java and C# find: languages that write the result before the name.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_java(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                   std::vector<Declared>& out);
void describe_csharp(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out);

// The text of an XML comment, its tags removed; of an empty tag, what it refers to stays.
[[nodiscard]] std::string xml_text(const std::string& comment);

}  // namespace velmora::host::indexing
