// Finds what came with the program, or with the library that other programs link.
#pragma once

#include <filesystem>

namespace velmora::host::files {

// The file of this name: where VELMORA_HOME is set in the environment, in `installed` in the folder
// that it names, or in that folder itself; else as file_around has it, of the running program or
// the shared library that holds this code.
[[nodiscard]] std::filesystem::path shipped_file(const std::filesystem::path& name,
                                                 const std::filesystem::path& installed);

// The file that goes with a program or library at `object`: beside it, as it was built; in
// `installed`, relative to its folder or to one of the two above, as it was installed; at last in
// `installed` where the build was configured to be installed. One that is nowhere is said to be
// beside it.
//
// What another user owns than this one, the system's administrator or the owner of the object is
// passed over: one of the folders may be a place in which everybody writes.
[[nodiscard]] std::filesystem::path file_around(const std::filesystem::path& object,
                                                const std::filesystem::path& name,
                                                const std::filesystem::path& installed);

}  // namespace velmora::host::files
