// A repository that never was: symbols shaped like those of real code.
//
// Words come from 30,000 made-up pronounceable ones, a fifth of them inflected forms of others, by
// a Zipf-Mandelbrot law. A name has 2 to 4 words in camelCase or snake_case, a signature 5 to 10
// with those of the name, a path 4 to 7 parts of which the first two are common to all, half of the
// symbols a docstring of 10 to 40. A file has 14 symbols.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rows.h"

namespace velmora::bench {

[[nodiscard]] Rows generated_rows(std::size_t symbols, std::uint64_t seed);

}  // namespace velmora::bench
