#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceContour;
class M2DSliceContourLayer;

namespace M2DSliceUtilities {

/// Decides on contours. Never deleted through this class.
class VELSDK_EXPORT IContourFilterObject {
 public:
  virtual bool Matches(M2DSliceContour const& contour) = 0;

 protected:
  ~IContourFilterObject() = default;
};

/// Matches contours that are shorter than a threshold; one as long as it does not match. Without thresholds, none does.
class VELSDK_EXPORT ContourFilterObjectLengthBased : public IContourFilterObject {
 public:
  /// Sets the thresholds, in internal units, for closed outer, closed inner and open contours.
  void SetTreshold(long closed_outer, long closed_inner, long open);

  bool Matches(M2DSliceContour const& contour) override;

 private:
  long m_closed_outer = 0;
  long m_closed_inner = 0;
  long m_open = 0;
};

/// Deletes the contours that match. Takes linear time.
VELSDK_EXPORT void FilterContourLayer(M2DSliceContourLayer& layer, IContourFilterObject& filter);

/// The length of a contour in internal units, with the closing edge of a closed one. 0 for one without points.
VELSDK_EXPORT double _GetLength(M2DSliceContour const& contour);

}  // namespace M2DSliceUtilities
