#pragma once

#include <SliceData/persistence/MSaxM2DSliceContour.h>
#include <SliceData/persistence/MSaxM2DSliceContourOnDisk.h>
#include <SliceData/persistence/MSaxM2DSliceLayer.h>

extern template class VELSDK_EXPORT
    MSaxM2DSliceLayer<M2DSliceComponentContours, MSaxM2DSliceContour, MSaxM2DSliceContourOnDisk>;

/// The contours of a component in a document, one "Contour" each.
class VELSDK_EXPORT MSaxM2DSliceContourLayer final
    : public MSaxM2DSliceLayer<M2DSliceComponentContours, MSaxM2DSliceContour, MSaxM2DSliceContourOnDisk> {
 public:
  /// `component` and the name, which may be null, outlive this.
  MSaxM2DSliceContourLayer(M2DSliceComponentContours* component, char const* stream_name)
      : MSaxM2DSliceLayer(component, stream_name) {}
};
