#pragma once

#include <SliceData/geometry/iTransformation.h>
#include <SliceData/platform/common/Export.h>

class M2DSlice;
class M2DSliceContour;
class M2DSliceContourLayer;
class M2DSlicePointBlock;
class M2DSlicePointLayer;
class M2DSliceVectorBlock;
class M2DSliceVectorLayer;
struct M2DSliceXYArea;

namespace M2DSliceUtilities {

/// The smallest and largest coordinates of the source, in internal units.
///
/// An empty source gives 2147483647 for the minima and -2147483648 for the maxima. These 32-bit values are also where
/// the search starts: a coordinate above the first never lowers a minimum, one below the second never raises a maximum.
/// The forms for a slice bring its data into memory; its area contours do not count.
VELSDK_EXPORT void GetExtremes(M2DSliceContour const& source, long& minX, long& minY, long& maxX, long& maxY);
VELSDK_EXPORT void GetExtremes(M2DSliceVectorBlock const& source, long& minX, long& minY, long& maxX, long& maxY);
VELSDK_EXPORT void GetExtremes(M2DSlicePointBlock const& source, long& minX, long& minY, long& maxX, long& maxY);
VELSDK_EXPORT void GetExtremes(M2DSliceContourLayer const& source, long& minX, long& minY, long& maxX, long& maxY);
VELSDK_EXPORT void GetExtremes(M2DSliceVectorLayer const& source, long& minX, long& minY, long& maxX, long& maxY);
VELSDK_EXPORT void GetExtremes(M2DSlicePointLayer const& source, long& minX, long& minY, long& maxX, long& maxY);
VELSDK_EXPORT void GetExtremes(M2DSlice const& source, long& minX, long& minY, long& maxX, long& maxY);

/// The same as a box. An empty source gives the 32-bit values above, and not the empty box.
VELSDK_EXPORT void GetExtremes(M2DSliceContour const& source, M2DSliceXYArea& area);
VELSDK_EXPORT void GetExtremes(M2DSliceVectorBlock const& source, M2DSliceXYArea& area);
VELSDK_EXPORT void GetExtremes(M2DSlicePointBlock const& source, M2DSliceXYArea& area);
VELSDK_EXPORT void GetExtremes(M2DSliceContourLayer const& source, M2DSliceXYArea& area);
VELSDK_EXPORT void GetExtremes(M2DSliceVectorLayer const& source, M2DSliceXYArea& area);
VELSDK_EXPORT void GetExtremes(M2DSlicePointLayer const& source, M2DSliceXYArea& area);
VELSDK_EXPORT void GetExtremes(M2DSlice const& source, M2DSliceXYArea& area);

/// The same for the mapped and truncated coordinates of the stored points; no segment is refined. Points of point
/// layers are measured as they are stored, without the mapping.
VELSDK_EXPORT void GetExtremes(M2DSliceContour const& source, long& minX, long& minY, long& maxX, long& maxY,
                               iTransformation const& mapping);
VELSDK_EXPORT void GetExtremes(M2DSliceVectorBlock const& source, long& minX, long& minY, long& maxX, long& maxY,
                               iTransformation const& mapping);
VELSDK_EXPORT void GetExtremes(M2DSliceContourLayer const& source, long& minX, long& minY, long& maxX, long& maxY,
                               iTransformation const& mapping);
VELSDK_EXPORT void GetExtremes(M2DSliceVectorLayer const& source, long& minX, long& minY, long& maxX, long& maxY,
                               iTransformation const& mapping);
VELSDK_EXPORT void GetExtremes(M2DSlicePointLayer const& source, long& minX, long& minY, long& maxX, long& maxY,
                               iTransformation const& mapping);
VELSDK_EXPORT void GetExtremes(M2DSlice const& source, long& minX, long& minY, long& maxX, long& maxY,
                               iTransformation const& mapping);

}  // namespace M2DSliceUtilities
