#pragma once

/// A point in internal units (0.1 µm).
struct M2DSlicePoint {
  long x = 0;
  long y = 0;
};

inline bool operator==(M2DSlicePoint const& a, M2DSlicePoint const& b) {
  return a.x == b.x && a.y == b.y;
}
