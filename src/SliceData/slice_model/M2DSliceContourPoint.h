#pragma once

#include <cstdint>

/// A point of a contour, linked into its ring, in internal units (0.1 µm).
struct M2DSliceContourPoint {
  long x;
  long y;
  long z;
  void* info;  ///< the host's own; copied with the point
  M2DSliceContourPoint* next;
  M2DSliceContourPoint* previous;
  std::uint32_t pool_marker;  ///< 0 while the point is live, 1 once it is freed
};
