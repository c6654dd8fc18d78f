// SPDX-License-Identifier: none
#ifndef SHAPES_HPP
#define SHAPES_HPP

#include <vector>

GEOMETRY_BEGIN_NAMESPACE
namespace geometry {
namespace detail::v1 {
/// The unit of every length.
constexpr double UNIT = 0.001;
inline const std::vector<int> TABLE = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30};
}  // namespace detail::v1

class Forward;
using Points = std::vector<double>;
template <class T>
concept Sized = requires(T t) { t.size(); };

/**
 * Something with an area.
 */
class GEOMETRY_EXPORT Shape {
 public:
  Shape() = default;
  explicit Shape(int sides);
  virtual ~Shape();

  //! The area in square units.
  [[nodiscard]] virtual double area() const noexcept = 0;
  static Shape* make(const char* name,
                     int sides = 3,
                     Points points = Points());
  bool operator==(const Shape& other) const { return sides_ == other.sides_; }
  explicit operator bool() const;
  auto begin() const -> const double*;

  enum class Kind : unsigned char { round, square };
  struct Options final {
    int depth = 0;
    void reset() {
      struct Inside {};
      auto later = [](int x) { return x; };
    }
  };
  friend bool operator<(const Shape& a, const Shape& b) { return a.sides_ < b.sides_; }
  friend class Forward;

 private:
  int sides_ = 0;
  static constexpr int SIDES = 4;
};

// The larger one.
template <class T,
          class Less = std::less<T>>
[[nodiscard]] const T& larger(const T& a, const T& b);

template <class T>
struct Box : public Shape, private Points {
  T get() const&;
  template <class U>
  void put(U&& item);
  static constexpr auto larger = [](const Box& a, const Box& b) { return a.area() > b.area(); };
  std::function<void()> changed = [] {};
};
template <class T, int N = 3>
using Row = std::array<Box<T>, N>;
template <class T>
constexpr T HALF = T(1) / T(2);
template <class... Shapes>
void draw(Shapes&&... shapes);
template <class T, class = std::enable_if_t<std::is_arithmetic_v<T> && sizeof(T) <= sizeof(long) && !std::is_same_v<T, bool> && !std::is_same_v<T, char>>>
T rounded(T length);

template <>
struct Box<void> {};

namespace {
int hidden(int) { return 0; }
}  // namespace

extern "C" int geometry_version(void);
[[nodiscard]] GEOMETRY_EXPORT std::vector<Shape> all_shapes(int sides);
GEOMETRY_EXPORT [[nodiscard]] std::vector<Shape> few_shapes();
class [[nodiscard]] GEOMETRY_EXPORT Hull {};
}  // namespace geometry
GEOMETRY_END_NAMESPACE
#endif
