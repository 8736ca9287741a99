#pragma once

#include <SliceData/geometry/iTransformation.h>

namespace M2DSliceUtilities {

/// Maps one stored point: through doubles, truncated towards zero.
inline void MapPoint(iTransformation const& mapping, long& x, long& y) {
  double mapped_x = static_cast<double>(x);
  double mapped_y = static_cast<double>(y);
  mapping.Transform(mapped_x, mapped_y);
  x = static_cast<long>(mapped_x);
  y = static_cast<long>(mapped_y);
}

}  // namespace M2DSliceUtilities
