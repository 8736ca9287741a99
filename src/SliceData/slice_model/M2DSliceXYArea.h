#pragma once

#include <algorithm>
#include <limits>

/// A box in internal units (0.1 µm), borders included. A new one is empty: its minima are the largest `long` and its
/// maxima the smallest, so that extending it by anything gives that thing's box.
struct M2DSliceXYArea {
  long minX = std::numeric_limits<long>::max();
  long maxX = std::numeric_limits<long>::min();
  long minY = std::numeric_limits<long>::max();
  long maxY = std::numeric_limits<long>::min();

  bool IsEmpty() const { return minX > maxX || minY > maxY; }

  void Extend(long x, long y) {
    minX = std::min(minX, x);
    maxX = std::max(maxX, x);
    minY = std::min(minY, y);
    maxY = std::max(maxY, y);
  }

  void Extend(M2DSliceXYArea const& area) {
    minX = std::min(minX, area.minX);
    maxX = std::max(maxX, area.maxX);
    minY = std::min(minY, area.minY);
    maxY = std::max(maxY, area.maxY);
  }
};

inline bool operator==(M2DSliceXYArea const& a, M2DSliceXYArea const& b) {
  return a.minX == b.minX && a.maxX == b.maxX && a.minY == b.minY && a.maxY == b.maxY;
}
inline bool operator!=(M2DSliceXYArea const& a, M2DSliceXYArea const& b) {
  return !(a == b);
}
