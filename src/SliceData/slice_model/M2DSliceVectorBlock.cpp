#include <SliceData/slice_model/M2DSliceVectorBlock.h>

M2DSliceVectorBlock::M2DSliceVectorBlock() = default;
M2DSliceVectorBlock::~M2DSliceVectorBlock() = default;

M2DSliceVectorBlock& M2DSliceVectorBlock::operator=(M2DSliceVectorBlock const& source) {
  std::vector<M2DSliceVector>::operator=(source);
  SetVectorTypeInfo(source.GetVectorTypeInfo());
  return *this;
}
