#include <SliceData/geometry/PointDistance.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/type_operations/ContourFilter.h>

namespace M2DSliceUtilities {

void ContourFilterObjectLengthBased::SetTreshold(long closed_outer, long closed_inner, long open) {
  m_closed_outer = closed_outer;
  m_closed_inner = closed_inner;
  m_open = open;
}

bool ContourFilterObjectLengthBased::Matches(M2DSliceContour const& contour) {
  long const threshold = !contour.GetIsClosed() ? m_open : contour.GetIsOuter() ? m_closed_outer : m_closed_inner;
  return static_cast<double>(threshold) > _GetLength(contour);
}

void FilterContourLayer(M2DSliceContourLayer& layer, IContourFilterObject& filter) {
  for (auto contour = layer.begin(); contour != layer.end();) {
    M2DSliceContour& examined = *contour++;
    if (filter.Matches(examined)) layer.Unlink(&examined);
  }
}

double _GetLength(M2DSliceContour const& contour) {
  double length = 0;
  M2DSliceContourPoint const* const first = contour.GetFirstPoint();
  for (M2DSliceContourPoint const& point : contour.GetPoints()) {
    if (point.next != first || contour.GetIsClosed()) length += Distance(point, *point.next);
  }
  return length;
}

}  // namespace M2DSliceUtilities
