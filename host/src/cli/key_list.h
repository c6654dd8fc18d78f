// What can be set, for people.
#pragma once

#include <string>

namespace velmora::host::cli {

// A line for each key, below a line of titles: its name, default, values, where it may stand (e:
// the environment, r: a repository's file, u: the user's own), and what it means.
[[nodiscard]] std::string key_list();

}  // namespace velmora::host::cli
