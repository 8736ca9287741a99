#pragma once

#include <cstdint>

/// A position on the integer grid.
struct PlanarPoint {
  std::int32_t x;
  std::int32_t y;
};

inline bool operator==(PlanarPoint const& a, PlanarPoint const& b) {
  return a.x == b.x && a.y == b.y;
}
inline bool operator!=(PlanarPoint const& a, PlanarPoint const& b) {
  return !(a == b);
}
/// By x, then by y: the order in which a sweep meets points.
inline bool operator<(PlanarPoint const& a, PlanarPoint const& b) {
  return a.x != b.x ? a.x < b.x : a.y < b.y;
}

/// A segment between two different grid points, without direction: `low` < `high`.
///
/// Its lower side lies on the right of someone who walks from `low` to `high`: below it, or at greater x if it is
/// vertical. `change` is what the winding number gains from the lower to the upper side.
struct PlanarSegment {
  PlanarPoint low;
  PlanarPoint high;
  std::int32_t change;

  bool IsVertical() const { return low.x == high.x; }
};

/// Wide enough for every product in the predicates: coordinates have 32 bits, their differences 33.
__extension__ typedef __int128 PlanarWide;

/// The cross product of the vectors a -> b and c -> d.
inline PlanarWide PlanarCross(PlanarPoint a, PlanarPoint b, PlanarPoint c, PlanarPoint d) {
  PlanarWide const abx = std::int64_t{b.x} - a.x;
  PlanarWide const aby = std::int64_t{b.y} - a.y;
  return abx * (std::int64_t{d.y} - c.y) - aby * (std::int64_t{d.x} - c.x);
}

inline int PlanarSign(PlanarWide value) {
  return value > 0 ? 1 : value < 0 ? -1 : 0;
}

/// 1 if `point` lies on the upper side of the line through the segment, -1 if on the lower side, 0 if on it. Exact.
inline int PlanarSide(PlanarSegment const& segment, PlanarPoint point) {
  return PlanarSign(PlanarCross(segment.low, segment.high, segment.low, point));
}

/// 1 if `a` has the smaller slope, -1 if the greater one, 0 if they are parallel. Exact.
inline int PlanarTurn(PlanarSegment const& a, PlanarSegment const& b) {
  return PlanarSign(PlanarCross(a.low, a.high, b.low, b.high));
}

/// The order in which a sweep takes up segments: by their low ends, those from one point from the lowest slope to the
/// vertical, those along one line by their length.
inline bool operator<(PlanarSegment const& a, PlanarSegment const& b) {
  if (a.low != b.low) return a.low < b.low;
  int const turn = PlanarTurn(a, b);
  return turn != 0 ? turn > 0 : a.high < b.high;
}
