#include <SliceData/disk_cache/M2DSliceStackCachingStrategyZRange.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/slice_model/HeightArithmetic.h>

#include <iterator>

/// Remembers under which z it stands in the maps: its own may change meanwhile.
class M2DSliceStackCachingStrategyZRange::MSlice final : public M2DSliceStackSlice {
 public:
  MSlice(long z, M2DSliceStack* stack, M2DSliceStackCachingStrategyZRange& strategy)
      : M2DSliceStackSlice(M2DSliceZArea(z), stack), m_own_strategy(strategy) {}

  ~MSlice() override {
    for (std::size_t kind = 0; kind < kNumRows; ++kind) {
      auto& slices = m_own_strategy.m_kinds[kind].slices;
      auto const entry = slices.find(m_entered_at[kind]);
      if (entry != slices.end() && entry->second == this) slices.erase(entry);
    }
  }

  void Enter(std::size_t kind) {
    long const z = GetZArea().GetZ();
    if (m_own_strategy.m_kinds[kind].slices.emplace(z, this).second) m_entered_at[kind] = z;
  }

 private:
  M2DSliceStackCachingStrategyZRange& m_own_strategy;  ///< which the base class shares
  std::array<long, kNumRows> m_entered_at{};
};

M2DSliceStackSlice* M2DSliceStackCachingStrategyZRange::_CreateSlice(long z) {
  return new MSlice(z, m_stack, *this);
}

void M2DSliceStackCachingStrategyZRange::_OnRemoveSlice(M2DSliceStackSlice* slice) {
  if (dynamic_cast<MSlice*>(slice) == nullptr) return;
  for (Kind& kind : m_kinds) kind.slices.erase(slice->GetZArea().GetZ());
}

void M2DSliceStackCachingStrategyZRange::_OnAccessBorder(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::BorderRow>(slice);
}

void M2DSliceStackCachingStrategyZRange::_OnAccessVectors(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::VectorsRow>(slice);
}

void M2DSliceStackCachingStrategyZRange::_OnAccessPoints(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::PointsRow>(slice);
}

void M2DSliceStackCachingStrategyZRange::_OnAccessAreas(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::AreasRow>(slice);
}

void M2DSliceStackCachingStrategyZRange::_GetValidTempFile(boost::shared_ptr<M2DSliceTempFile>& file) const {
  M2DSliceTempFile::_EnsureRoom(file, m_max_file_size, m_instance_number, m_num_temp_files);
}

template <class Row>
void M2DSliceStackCachingStrategyZRange::_OnAccess(M2DSliceStackSlice* slice) {
  Kind& kind = m_kinds[Row::kIndex];
  static_cast<MSlice*>(slice)->Enter(Row::kIndex);
  Row::Component(*slice).ValidateData();

  long const z = slice->GetZArea().GetZ();
  if (z >= kind.range.minimum && z <= kind.range.maximum) return;
  kind.range = {HeightArithmetic::Difference(z, kHalfRange), HeightArithmetic::Sum(z, kHalfRange)};
  while (!kind.slices.empty() && kind.slices.begin()->first < kind.range.minimum) _EvictLowest<Row>();

  auto const above = kind.slices.upper_bound(kind.range.maximum);
  for (auto count = std::distance(above, kind.slices.end()); count > 0; --count) _EvictLowest<Row>();
}

/// A slice leaves the map once its data is safe, so that a failure can be tried again.
template <class Row>
void M2DSliceStackCachingStrategyZRange::_EvictLowest() {
  Kind& kind = m_kinds[Row::kIndex];
  auto const lowest = kind.slices.begin();
  auto& component = Row::Component(*lowest->second);
  if (!component.IsDataEmpty()) {
    _GetValidTempFile(kind.temp_file);
    component.ValidateDiskState(kind.temp_file);
  }
  kind.slices.erase(lowest);
}
