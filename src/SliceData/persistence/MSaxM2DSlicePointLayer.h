#pragma once

#include <SliceData/persistence/MSaxM2DSliceLayer.h>
#include <SliceData/persistence/MSaxM2DSlicePointBlock.h>
#include <SliceData/persistence/MSaxM2DSlicePointBlockOnDisk.h>

extern template class VELSDK_EXPORT
    MSaxM2DSliceLayer<M2DSliceComponentPoints, MSaxM2DSlicePointBlock, MSaxM2DSlicePointBlockOnDisk>;

/// The point blocks of a component in a document, one "PointBlock" each.
class VELSDK_EXPORT MSaxM2DSlicePointLayer final
    : public MSaxM2DSliceLayer<M2DSliceComponentPoints, MSaxM2DSlicePointBlock, MSaxM2DSlicePointBlockOnDisk> {
 public:
  /// `component` and the name, which may be null, outlive this.
  MSaxM2DSlicePointLayer(M2DSliceComponentPoints* component, char const* stream_name)
      : MSaxM2DSliceLayer(component, stream_name) {}
};
