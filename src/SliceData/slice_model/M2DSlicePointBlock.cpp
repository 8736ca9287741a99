#include <SliceData/slice_model/M2DSlicePointBlock.h>

M2DSlicePointBlock::M2DSlicePointBlock() = default;
M2DSlicePointBlock::~M2DSlicePointBlock() = default;

M2DSlicePointBlock& M2DSlicePointBlock::operator=(M2DSlicePointBlock const& source) {
  Assign(source);
  SetVectorTypeInfo(source.GetVectorTypeInfo());
  return *this;
}
