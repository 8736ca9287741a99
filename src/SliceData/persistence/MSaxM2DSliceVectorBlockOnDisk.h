#pragma once

#include <SliceData/persistence/MSaxM2DSliceElement.h>
#include <SliceData/slice_model/M2DSliceComponentVectors.h>

extern template class VELSDK_EXPORT MSaxM2DSliceElement<MSaxElementOnDisk<M2DSliceComponentVectors>>;

/// A vector block in the record of a component as an element of a document. Two of one component must not be at work at
/// once.
class VELSDK_EXPORT MSaxM2DSliceVectorBlockOnDisk final
    : public MSaxM2DSliceElement<MSaxElementOnDisk<M2DSliceComponentVectors>> {
 public:
  /// `component` and the name, which may be null, outlive this. Reading adds items to the last element of the
  /// component, which is the one at `index` then.
  MSaxM2DSliceVectorBlockOnDisk(M2DSliceComponentVectors* component, unsigned long index, char const* stream_name)
      : MSaxM2DSliceElement({component, index}, stream_name) {}
};
