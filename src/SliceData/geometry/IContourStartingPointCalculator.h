#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceContour;
struct M2DSliceContourPoint;

namespace M2DSliceUtilities {

/// Chooses the point at which a contour begins.
class VELSDK_EXPORT IContourStartingPointCalculator {
 public:
  /// One of the contour's points; null for an empty contour. May adjust the calculator's own settings.
  virtual M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) = 0;

  virtual ~IContourStartingPointCalculator();
};

}  // namespace M2DSliceUtilities
