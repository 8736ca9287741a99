#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/type_operations/VectorTypeFilterRange.h>

#include <algorithm>

namespace M2DSliceUtilities {

namespace {

/// Raises the number of types so that every value of an index in the layer has a place.
template <class Layer>
void CountTypes(Layer const& layer, e2DSliceVectorTypeIndex index, unsigned long& num_types) {
  for (auto const& element : layer) {
    long const value = element.GetVectorTypeInfo().GetIndex(index);
    if (value >= 0) num_types = std::max(num_types, static_cast<unsigned long>(value) + 1);
  }
}

/// The same for what all ranges count; point blocks are not among it.
unsigned long CountTypes(M2DSlice const& slice, e2DSliceVectorTypeIndex index) {
  unsigned long num_types = 1;
  CountTypes(slice.GetBorder(), index, num_types);
  CountTypes(slice.GetAreas(), index, num_types);
  CountTypes(slice.GetVectors(), index, num_types);
  return num_types;
}

}  // namespace

VectorTypeFilterRangeByModelIndex::VectorTypeFilterRangeByModelIndex(M2DSlice const& slice)
    : m_num_types(CountTypes(slice, e2DSliceVectorTypeIndex::IndexModel)) {}

unsigned long VectorTypeFilterRangeByModelIndex::GetNumTypes() const {
  return m_num_types;
}

long VectorTypeFilterRangeByModelIndex::GetTypeIndex(M2DSliceVectorTypeInfo const& info) const {
  return info.GetIndex(e2DSliceVectorTypeIndex::IndexModel);
}

VectorTypeFilterRangeByComponentIndex::VectorTypeFilterRangeByComponentIndex(M2DSlice const& slice)
    : m_num_types(CountTypes(slice, e2DSliceVectorTypeIndex::IndexAssemblyItem)) {
  CountTypes(slice.GetPoints(), e2DSliceVectorTypeIndex::IndexAssemblyItem, m_num_types);
}

unsigned long VectorTypeFilterRangeByComponentIndex::GetNumTypes() const {
  return m_num_types;
}

long VectorTypeFilterRangeByComponentIndex::GetTypeIndex(M2DSliceVectorTypeInfo const& info) const {
  return std::max(info.GetIndex(e2DSliceVectorTypeIndex::IndexAssemblyItem), 0L);
}

unsigned long VectorTypeFilterBySupportFlag::GetNumTypes() const {
  return 2;
}

long VectorTypeFilterBySupportFlag::GetTypeIndex(M2DSliceVectorTypeInfo const& info) const {
  return info.GetFlag(e2DSliceVectorTypeFlag::IsSupport) ? 0 : 1;
}

}  // namespace M2DSliceUtilities
