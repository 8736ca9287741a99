#include <SliceData/slice_model/M2DSliceContour.h>

#include <utility>

I2DSliceDataBlock::~I2DSliceDataBlock() = default;

M2DSliceContour::M2DSliceContour(boost::shared_ptr<MCyclicMemoryPool<M2DSliceContourPoint>> pool)
    : M3dBorderContourBase(std::move(pool)) {}

M2DSliceContour::M2DSliceContour(boost::shared_ptr<MCyclicMemoryPool<M2DSliceContourPoint>> pool,
                                 M2DSliceVectorTypeInfo const& info)
    : M3dBorderContourBase(std::move(pool)), M2DSliceVectorTypeInfoHolder(info) {}

M2DSliceContour::~M2DSliceContour() = default;

M2DSliceContour& M2DSliceContour::operator=(M2DSliceContour const& source) {
  if (this == &source) return *this;
  _CopyContentFrom(source);
  SetVectorTypeInfo(source.GetVectorTypeInfo());
  return *this;
}
