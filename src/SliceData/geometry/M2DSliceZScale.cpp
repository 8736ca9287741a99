#include <SliceData/geometry/M2DSliceZScale.h>
#include <SliceData/geometry/Truncated.h>

#include <utility>

namespace M2DSliceUtilities {

void M2DSliceZScale::SetLookupTable(RescaleLookupTable<long, double> table) {
  m_table = std::move(table);
}

long M2DSliceZScale::TransformZ(long z) const {
  return Truncated(static_cast<double>(z) * _Lookup(z));
}

long M2DSliceZScale::TransformZInverse(long z) const {
  return Truncated(static_cast<double>(z) / _Lookup(z));
}

double M2DSliceZScale::GetScalingFactor(long z) const {
  return _Lookup(z);
}

double M2DSliceZScale::_Lookup(long z) const {
  return m_table.Lookup(z);
}

}  // namespace M2DSliceUtilities
