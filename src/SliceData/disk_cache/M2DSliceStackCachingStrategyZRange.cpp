#include <SliceData/disk_cache/M2DSliceStackCachingStrategyZRange.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/slice_model/HeightArithmetic.h>

#include <iterator>

/// Remembers where it stands in the maps, since its own z may change meanwhile.
class M2DSliceStackCachingStrategyZRange::MSlice final : public M2DSliceStackSlice {
 public:
  MSlice(long z, M2DSliceStack* stack, M2DSliceStackCachingStrategyZRange& strategy)
      : M2DSliceStackSlice(M2DSliceZArea(z), stack), m_own_strategy(strategy) {
    for (std::size_t kind = 0; kind < kNumRows; ++kind) m_entries[kind] = _Slices(kind).end();
  }

  ~MSlice() override {
    for (std::size_t kind = 0; kind < kNumRows; ++kind) Leave(kind);
  }

  /// Stands at its present z, unless another slice does.
  void Enter(std::size_t kind) {
    long const z = GetZArea().GetZ();
    auto& entry = m_entries[kind];
    if (entry != _Slices(kind).end() && entry->first == z) return;
    Leave(kind);
    auto const [place, is_new] = _Slices(kind).emplace(z, this);
    if (is_new) entry = place;
  }

  void Leave(std::size_t kind) {
    auto& entry = m_entries[kind];
    if (entry != _Slices(kind).end()) _Slices(kind).erase(entry);
    entry = _Slices(kind).end();
  }

 private:
  std::map<long, MSlice*>& _Slices(std::size_t kind) { return m_own_strategy.m_kinds[kind].slices; }

  M2DSliceStackCachingStrategyZRange& m_own_strategy;  ///< which the base class shares
  /// The end of its map for each kind of which the slice is not in the map.
  std::array<std::map<long, MSlice*>::iterator, kNumRows> m_entries;
};

M2DSliceStackSlice* M2DSliceStackCachingStrategyZRange::_CreateSlice(long z) {
  return new MSlice(z, m_stack, *this);
}

void M2DSliceStackCachingStrategyZRange::_OnRemoveSlice(M2DSliceStackSlice* slice) {
  auto* const own = dynamic_cast<MSlice*>(slice);
  if (own == nullptr) return;
  for (std::size_t kind = 0; kind < m_kinds.size(); ++kind) {
    auto const entry = m_kinds[kind].slices.find(slice->GetZArea().GetZ());
    if (entry != m_kinds[kind].slices.end()) entry->second->Leave(kind);
    own->Leave(kind);
  }
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

template <class Row>
void M2DSliceStackCachingStrategyZRange::_OnAccess(M2DSliceStackSlice* slice) {
  Kind& kind = m_kinds[Row::kIndex];
  static_cast<MSlice*>(slice)->Enter(Row::kIndex);
  Row::Component(*slice).ValidateData();

  long const z = slice->GetZArea().GetZ();
  if (z >= kind.range.minimum && z <= kind.range.maximum) return;
  Range const range = {HeightArithmetic::Difference(z, kHalfRange), HeightArithmetic::Sum(z, kHalfRange)};
  while (!kind.slices.empty() && kind.slices.begin()->first < range.minimum) _EvictLowest<Row>();
  auto const above = kind.slices.upper_bound(range.maximum);
  for (auto count = std::distance(above, kind.slices.end()); count > 0; --count) _EvictLowest<Row>();
  kind.range = range;  // last, so that an eviction that failed is tried again
}

/// A slice leaves the map once its data is safe, so that a failure can be tried again.
template <class Row>
void M2DSliceStackCachingStrategyZRange::_EvictLowest() {
  Kind& kind = m_kinds[Row::kIndex];
  MSlice* const lowest = kind.slices.begin()->second;
  auto& component = Row::Component(*lowest);
  if (!component.IsDataEmpty()) {
    _GetValidTempFile(kind.temp_file);
    component.ValidateDiskState(kind.temp_file);
  }
  lowest->Leave(Row::kIndex);
}
