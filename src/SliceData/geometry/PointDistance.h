#pragma once

#include <SliceData/geometry/Truncated.h>

#include <cmath>
#include <limits>

/// Distances between stored points: computed in doubles, stored as integers. Nothing here overflows: what lies beyond
/// the range of a `long` becomes its nearest limit.
namespace M2DSliceUtilities {

inline long BoundedSum(long a, long b) {
  long sum = 0;
  if (!__builtin_add_overflow(a, b, &sum)) return sum;
  return b < 0 ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
}

/// a - b, taken in integers unless that overflows.
inline double Difference(long a, long b) {
  long difference = 0;
  if (!__builtin_sub_overflow(a, b, &difference)) return static_cast<double>(difference);
  return static_cast<double>(a) - static_cast<double>(b);
}

/// The Euclidean distance in the plane of anything with `x` and `y`.
template <class PointA, class PointB>
double Distance(PointA const& a, PointB const& b) {
  double const dx = Difference(a.x, b.x);
  double const dy = Difference(a.y, b.y);
  return std::sqrt(dx * dx + dy * dy);
}

template <class PointA, class PointB>
bool IsSamePlace(PointA const& a, PointB const& b) {
  return a.x == b.x && a.y == b.y;
}

}  // namespace M2DSliceUtilities
