#include <SliceData/geometry/ContourStartingPoints.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

namespace M2DSliceUtilities {

namespace {

void SetStartingPoint(M2DSliceContour& contour, IContourStartingPointCalculator* calculator) {
  if (calculator == nullptr) return;
  M2DSliceContourPoint const* const point = calculator->FindOptimalStartingPoint(contour);
  // The point is one of the contour's, which may be changed here.
  if (point != nullptr) contour.SetFirstPoint(const_cast<M2DSliceContourPoint*>(point));
}

}  // namespace

void SetContourOptimalStartingPoint(M2DSliceContour& contour,
                                    boost::shared_ptr<IContourStartingPointCalculator> calculator) {
  SetStartingPoint(contour, calculator.get());
}

void SetContourOptimalStartingPoints(M2DSliceContourLayer& layer,
                                     boost::shared_ptr<IContourStartingPointCalculator> calculator) {
  for (M2DSliceContour& contour : layer) {
    if (contour.GetIsClosed()) SetStartingPoint(contour, calculator.get());
  }
}

}  // namespace M2DSliceUtilities
