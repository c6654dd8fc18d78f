// The tables that are told of judged trees, in Markdown.
#pragma once

#include <span>
#include <string>

#include "judging.h"

namespace velmora::train {

// By part; by kind and length of question; by repository, with the commits. `parts` are those that
// were judged, the first of which is what the others are held against.
[[nodiscard]] std::string judged_markdown(std::span<const JudgedTree> trees,
                                          std::span<const Parts> parts);

}  // namespace velmora::train
