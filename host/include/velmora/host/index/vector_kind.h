// How an index keeps the vectors of a model. Only directions matter: vectors are compared by their
// cosine.
#pragma once

namespace velmora::host::index {

// What a number of a vector takes.
enum class VectorKind {
  float32,  // as they were given: four bytes a number
  float16,  // rounded to IEEE binary16, half the size: 11 bits of each number
  int8,     // the program's own model: a byte a number, the largest of a vector becomes 127
};

}  // namespace velmora::host::index
