#pragma once

#include <SliceData/persistence/MSaxM2DSliceElement.h>
#include <SliceData/slice_model/M2DSliceContour.h>

extern template class VELSDK_EXPORT MSaxM2DSliceElement<MSaxElementInMemory<M2DSliceContour>>;

/// A contour in memory as an element of a document.
class VELSDK_EXPORT MSaxM2DSliceContour final : public MSaxM2DSliceElement<MSaxElementInMemory<M2DSliceContour>> {
 public:
  /// `contour` and the name, which may be null, outlive this.
  MSaxM2DSliceContour(M2DSliceContour* contour, char const* stream_name)
      : MSaxM2DSliceElement({contour}, stream_name) {}
};
