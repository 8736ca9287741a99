#pragma once

#include <cmath>
#include <limits>

namespace M2DSliceUtilities {

/// A mapped coordinate as it is stored: truncated towards zero. What lies beyond the range of a `long` becomes its
/// nearest limit, NaN becomes 0.
inline long Truncated(double value) {
  if (std::abs(value) < 0x1p63) return static_cast<long>(value);
  if (value > 0) return std::numeric_limits<long>::max();
  return value < 0 ? std::numeric_limits<long>::min() : 0;
}

}  // namespace M2DSliceUtilities
