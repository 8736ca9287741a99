#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceContour;
class M2DSliceContourLayer;

namespace M2DSliceUtilities {

/// Removes points whose successor in the ring lies at the same x and y, whether the contour is closed or open: an open
/// contour that ends where it begins loses its last point, and a contour whose points all coincide is emptied, one of a
/// single point too.
///
/// As many looks are taken as there are points. A look that removes a point other than at the beginning is followed by
/// one more at the same place, so that among the last points, as many as were removed, equal neighbours can be left.
VELSDK_EXPORT void RemoveEqualPoints(M2DSliceContour& contour);
/// The same for each contour; emptied contours stay in the layer.
VELSDK_EXPORT void RemoveEqualPoints(M2DSliceContourLayer& layer);

}  // namespace M2DSliceUtilities
