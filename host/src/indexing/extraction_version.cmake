# Writes OUTPUT, a header with a constant that changes with the content of INPUTS.
set(hashes "")
foreach(input IN LISTS INPUTS)
  file(SHA256 "${input}" hash)
  string(APPEND hashes "${hash}")
endforeach()
string(SHA256 version "${hashes}")
string(SUBSTRING "${version}" 0 16 version)
file(WRITE "${OUTPUT}"
"// Names the extraction.
#pragma once

#include <string_view>

namespace velmora::host::indexing {

inline constexpr std::string_view VERSION = \"${version}\";

}  // namespace velmora::host::indexing
")
