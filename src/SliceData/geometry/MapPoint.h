#pragma once

#include <SliceData/geometry/Transformation.h>

namespace M2DSliceUtilities {

/// Maps one stored point: through doubles, truncated towards zero.
template <class Mapping>
void MapPoint(Mapping const& mapping, long& x, long& y) {
  double mapped_x = static_cast<double>(x);
  double mapped_y = static_cast<double>(y);
  mapping.Transform(mapped_x, mapped_y);
  x = static_cast<long>(mapped_x);
  y = static_cast<long>(mapped_y);
}

/// Calls `function` with the mapping: as a `TransformationMatrix` if it is one, so that a loop over points needs no virtual
/// call, and otherwise as it is.
template <class Function>
void WithPlainType(iTransformation const& mapping, Function&& function) {
  if (auto const* const matrix = dynamic_cast<TransformationMatrix const*>(&mapping)) {
    function(*matrix);
  } else {
    function(mapping);
  }
}

}  // namespace M2DSliceUtilities
