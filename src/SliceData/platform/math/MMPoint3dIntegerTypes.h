#pragma once

/// A point in space with coordinates of an integer type.
template <class T>
struct MMPoint3dIntegerTypes {
  T x{};
  T y{};
  T z{};
};

template <class T>
constexpr bool operator==(MMPoint3dIntegerTypes<T> const& a, MMPoint3dIntegerTypes<T> const& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}
