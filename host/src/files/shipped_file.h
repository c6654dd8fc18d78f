// Finds what came with the program, or with the library that other programs link.
#pragma once

#include <filesystem>

namespace velmora::host::files {

// The file of this name. Where VELMORA_HOME is set in the environment: in the folder that it names,
// or in `installed` there. Else beside the object that holds this code, which is the running
// program or a shared library, as it was built; in `installed`, relative to the object's folder or
// to one of the two above it, as it was installed; at last in `installed` where the build was
// configured to be installed. One that is nowhere is said to be beside the object, or in
// VELMORA_HOME.
//
// What another user owns than this one, the system's administrator or the owner of the object is
// passed over: one of the folders may be a place in which everybody writes.
[[nodiscard]] std::filesystem::path shipped_file(const std::filesystem::path& name,
                                                 const std::filesystem::path& installed);

}  // namespace velmora::host::files
