#pragma once

#include <SliceData/persistence/MSaxM2DSliceLayer.h>
#include <SliceData/persistence/MSaxM2DSliceVectorBlock.h>
#include <SliceData/persistence/MSaxM2DSliceVectorBlockOnDisk.h>

extern template class VELSDK_EXPORT
    MSaxM2DSliceLayer<M2DSliceComponentVectors, MSaxM2DSliceVectorBlock, MSaxM2DSliceVectorBlockOnDisk>;

/// The vector blocks of a component in a document, one "VectorBlock" each.
class VELSDK_EXPORT MSaxM2DSliceVectorLayer final
    : public MSaxM2DSliceLayer<M2DSliceComponentVectors, MSaxM2DSliceVectorBlock, MSaxM2DSliceVectorBlockOnDisk> {
 public:
  /// `component` and the name, which may be null, outlive this.
  MSaxM2DSliceVectorLayer(M2DSliceComponentVectors* component, char const* stream_name)
      : MSaxM2DSliceLayer(component, stream_name) {}
};
