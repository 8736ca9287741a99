#include <SliceData/slice_stack/ISliceContainer.h>

void ISliceContainer::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  slice = *GetSlice(index);
}
