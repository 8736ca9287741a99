#pragma once

#include <SliceData/geometry/IContourStartingPointCalculator.h>
#include <SliceData/platform/common/Export.h>

#include <boost/shared_ptr.hpp>

class M2DSliceContour;
class M2DSliceContourLayer;

namespace M2DSliceUtilities {

/// Lets the contour, closed or open, begin at the point that the calculator chooses. Order, number of points and flags
/// stay. Without a calculator, or if it gives null, nothing changes.
VELSDK_EXPORT void SetContourOptimalStartingPoint(M2DSliceContour& contour,
                                                  boost::shared_ptr<IContourStartingPointCalculator> calculator);

/// The same for each closed contour of the layer in order; open contours stay as they are.
VELSDK_EXPORT void SetContourOptimalStartingPoints(M2DSliceContourLayer& layer,
                                                   boost::shared_ptr<IContourStartingPointCalculator> calculator);

}  // namespace M2DSliceUtilities
