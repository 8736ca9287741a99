#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceContour;
struct M2DSliceContourPoint;

namespace M2DSliceUtilities {

/// Which way a walk along a ring of points goes. Results are points of the same ring, never null.
class VELSDK_EXPORT INextPointFunctor {
 public:
  /// Comes before the walk along each contour.
  virtual void OnNewContour(M2DSliceContour const* contour) = 0;
  /// Where a walk along an open contour begins that was to begin at `point`.
  virtual M2DSliceContourPoint const* CorrectStartPointOpenContour(M2DSliceContourPoint const* point,
                                                                   bool outer) const = 0;
  virtual M2DSliceContourPoint const* GetNextPoint(M2DSliceContourPoint const* point) const = 0;

  virtual ~INextPointFunctor();
};

}  // namespace M2DSliceUtilities
