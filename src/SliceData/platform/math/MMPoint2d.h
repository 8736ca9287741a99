#pragma once

/// A point, or a pair of values, in the plane.
template <class T>
struct MMPoint2d {
  T x{};
  T y{};
};

template <class T>
constexpr bool operator==(MMPoint2d<T> const& a, MMPoint2d<T> const& b) {
  return a.x == b.x && a.y == b.y;
}
