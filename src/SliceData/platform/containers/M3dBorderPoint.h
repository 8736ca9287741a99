#pragma once

#include <cstdint>

/// A point of a general contour, linked into its ring.
template <class Coordinate, class Info>
struct M3dBorderPoint {
  Coordinate x;
  Coordinate y;
  Coordinate z;
  Info info;  ///< the host's own
  M3dBorderPoint* next;
  M3dBorderPoint* previous;
  std::uint32_t pool_marker;  ///< 0 while the point is live, 1 once it is freed
};
