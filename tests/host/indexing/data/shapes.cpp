#include "shapes.hpp"

#include <gtest/gtest.h>

namespace geometry {

int unlisted(int prototype);

Shape::Shape(int sides) : sides_(sides) {}
Shape::~Shape() = default;

// Makes a shape of a name.
Shape* Shape::make(const char* name, int sides, Points points) { return nullptr; }

template <class T>
T Box<T>::get() const& {
  return {};
}

Shape::operator bool() const { return sides_ > 0; }
void Shape::Options::clear() {}

}  // namespace geometry

int geometry::count() { return 0; }

TEST(Shape, HasAnArea) {
  EXPECT_TRUE(true);
}

int main(int argc, char** argv) { return 0; }
