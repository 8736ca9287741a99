#include <SliceData/geometry/PointDistance.h>
#include <SliceData/geometry/RemoveEqualPoints.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

namespace M2DSliceUtilities {

void RemoveEqualPoints(M2DSliceContour& contour) {
  M2DSliceContourPoint* current = contour.GetFirstPoint();
  // Only the last look can find a point that is its own predecessor: two places keep two points, and one place loses
  // one point with every look.
  for (unsigned long looks = contour.GetNumPoints(); looks != 0; --looks) {
    if (IsSamePlace(*current->previous, *current)) {
      contour.RemovePoint(current->previous);
    } else {
      current = current->next;
    }
  }
}

void RemoveEqualPoints(M2DSliceContourLayer& layer) {
  for (M2DSliceContour& contour : layer) RemoveEqualPoints(contour);
}

}  // namespace M2DSliceUtilities
