#include "shapes.hpp"

#include <gtest/gtest.h>

namespace geometry {

int unlisted(int prototype);

Shape::Shape(int sides) : sides_(sides) {}
Shape::~Shape() = default;
Shape& Shape::operator=(const Shape& other) = default;
Shape& Shape::operator=(Shape&& other) noexcept = default;

// Makes a shape of a name.
Shape* Shape::make(const char* name, int sides, Points points) { return nullptr; }

template <class T>
T Box<T>::get() const& {
  return {};
}

template <class T>
template <class U>
void Box<T>::put(U&& item) {}

template <>
void Box<int>::put(long item) {}

// By area, then by sides.
const auto smaller = [](const Shape& a, const Shape& b) -> bool {
  const auto tie = [] { return false; };
  return a.area() < b.area() || tie();
};
static auto twice = []<class T>(T x) noexcept { return x + x; };
const auto once = std::bind(twice, [](int x) { return x; });

Shape::operator bool() const { return sides_ > 0; }
void Shape::Options::clear() {}

}  // namespace geometry

int geometry::count() { return 0; }

TEST(Shape, HasAnArea) {
  EXPECT_TRUE(true);
}

TEST_CASE("a shape, and its sides", "[shape]") { CHECK(true); }

MATCHER(HasNoSides, negation ? "has sides" : "has none") { return arg.sides() == 0; }

int main(int argc, char** argv) { return 0; }
