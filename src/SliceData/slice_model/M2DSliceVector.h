#pragma once

/// One straight run of the laser in internal units (0.1 µm).
///
/// The two x coordinates come first, then the two y coordinates: readers of the record rely on this order.
struct M2DSliceVector {
  long x1 = 0;  ///< start
  long x2 = 0;  ///< end
  long y1 = 0;  ///< start
  long y2 = 0;  ///< end
};

inline bool operator==(M2DSliceVector const& a, M2DSliceVector const& b) {
  return a.x1 == b.x1 && a.x2 == b.x2 && a.y1 == b.y1 && a.y2 == b.y2;
}
