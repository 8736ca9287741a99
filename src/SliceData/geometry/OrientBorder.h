#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceContourLayer;

namespace M2DSliceUtilities {

/// Turns the closed contours of the layer so that the area to fill lies on their left: those that lie within an even
/// number of others become counter-clockwise and outer, the others clockwise and not outer.
///
/// A contour that is turned keeps its first point; open contours and those without area stay as they are. The
/// platform's `AU::OrientBorder2D` does the work and tells what holds for contours that touch, coincide or cross.
/// Throws `std::out_of_range` if a coordinate is not within ±2^46, and the layer is unchanged then. n log n in the
/// number of points.
VELSDK_EXPORT void OrientBorder(M2DSliceContourLayer& layer);

}  // namespace M2DSliceUtilities
