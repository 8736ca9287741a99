#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>

#include <algorithm>

class M2DSliceStackCachingStrategyMultipleTempFiles::MSlice final : public M2DSliceStackSlice {
 public:
  MSlice(long z, M2DSliceStack* stack, M2DSliceStackCachingStrategyMultipleTempFiles& strategy)
      : M2DSliceStackSlice(M2DSliceZArea(z), stack), m_own_strategy(strategy) {
    for (std::size_t kind = 0; kind < kNumRows; ++kind) m_recent_positions[kind] = _Recent(kind).end();
  }
  ~MSlice() override { LeaveAll(); }

  /// Becomes the most recent slice of a kind.
  void Enter(std::size_t kind) {
    std::list<MSlice*>& recent = _Recent(kind);
    auto& position = m_recent_positions[kind];
    if (position != recent.end()) {
      recent.splice(recent.begin(), recent, position);
    } else {
      position = recent.insert(recent.begin(), this);
    }
  }

  void Leave(std::size_t kind) {
    std::list<MSlice*>& recent = _Recent(kind);
    auto& position = m_recent_positions[kind];
    if (position != recent.end()) recent.erase(position);
    position = recent.end();
  }

  void LeaveAll() {
    for (std::size_t kind = 0; kind < kNumRows; ++kind) Leave(kind);
  }

 private:
  std::list<MSlice*>& _Recent(std::size_t kind) { return m_own_strategy.m_kinds[kind].recent; }

  M2DSliceStackCachingStrategyMultipleTempFiles& m_own_strategy;  ///< which the base class shares
  /// The end of its list for each kind of which the slice is not in the list.
  std::array<std::list<MSlice*>::iterator, kNumRows> m_recent_positions;
};

void M2DSliceStackCachingStrategyMultipleTempFiles::SetCacheSizes(unsigned long borders, unsigned long vectors,
                                                                  unsigned long points, unsigned long areas) {
  m_kinds[M2DSlice::BorderRow::kIndex].cache_size = borders;
  m_kinds[M2DSlice::VectorsRow::kIndex].cache_size = vectors;
  m_kinds[M2DSlice::PointsRow::kIndex].cache_size = points;
  m_kinds[M2DSlice::AreasRow::kIndex].cache_size = areas;
}

M2DSliceStackSlice* M2DSliceStackCachingStrategyMultipleTempFiles::_CreateSlice(long z) {
  return new MSlice(z, m_stack, *this);
}

void M2DSliceStackCachingStrategyMultipleTempFiles::_OnRemoveSlice(M2DSliceStackSlice* slice) {
  if (auto* const own = dynamic_cast<MSlice*>(slice)) own->LeaveAll();
}

bool M2DSliceStackCachingStrategyMultipleTempFiles::_PrepareBorderForCaching(M2DSliceStackSlice* slice) {
  return _Prepare<M2DSlice::BorderRow>(slice);
}

bool M2DSliceStackCachingStrategyMultipleTempFiles::_PrepareVectorsForCaching(M2DSliceStackSlice* slice) {
  return _Prepare<M2DSlice::VectorsRow>(slice);
}

bool M2DSliceStackCachingStrategyMultipleTempFiles::_PreparePointsForCaching(M2DSliceStackSlice* slice) {
  return _Prepare<M2DSlice::PointsRow>(slice);
}

bool M2DSliceStackCachingStrategyMultipleTempFiles::_PrepareAreasForCaching(M2DSliceStackSlice* slice) {
  return _Prepare<M2DSlice::AreasRow>(slice);
}

void M2DSliceStackCachingStrategyMultipleTempFiles::_OnAccessBorder(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::BorderRow>(slice);
}

void M2DSliceStackCachingStrategyMultipleTempFiles::_OnAccessVectors(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::VectorsRow>(slice);
}

void M2DSliceStackCachingStrategyMultipleTempFiles::_OnAccessPoints(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::PointsRow>(slice);
}

void M2DSliceStackCachingStrategyMultipleTempFiles::_OnAccessAreas(M2DSliceStackSlice* slice) {
  _OnAccess<M2DSlice::AreasRow>(slice);
}

void M2DSliceStackCachingStrategyMultipleTempFiles::_OnCachingUnlocked() {
  M2DSlice::ForEachRow([&](auto row) {
    using Row = decltype(row);
    Kind const& kind = m_kinds[Row::kIndex];
    if (kind.recent.size() > kind.cache_size) _EvictHalf<Row>();
  });
}

/// Points and areas play no part in it.
unsigned long M2DSliceStackCachingStrategyMultipleTempFiles::_GetMaxAdvicedDataBuffer() {
  return 4 *
         std::min(m_kinds[M2DSlice::BorderRow::kIndex].cache_size, m_kinds[M2DSlice::VectorsRow::kIndex].cache_size);
}

template <class Row>
void M2DSliceStackCachingStrategyMultipleTempFiles::_OnAccess(M2DSliceStackSlice* slice) {
  Row::Component(*slice).ValidateData();
  static_cast<MSlice*>(slice)->Enter(Row::kIndex);
  Kind const& kind = m_kinds[Row::kIndex];
  if (!m_caching_locked && kind.recent.size() > kind.cache_size) _EvictHalf<Row>();
}

/// A slice leaves the list once its data is safe, so that a failure can be tried again.
template <class Row>
void M2DSliceStackCachingStrategyMultipleTempFiles::_EvictHalf() {
  Kind& kind = m_kinds[Row::kIndex];
  while (kind.recent.size() > kind.cache_size / 2) {
    MSlice* const oldest = kind.recent.back();
    auto& component = Row::Component(*oldest);
    if (!oldest->_SetInInitialSourceState() && !component.IsDataEmpty()) {
      _GetValidTempFile(kind.temp_file);
      component.ValidateDiskState(kind.temp_file);
    }
    oldest->Leave(Row::kIndex);
  }
}

template <class Row>
bool M2DSliceStackCachingStrategyMultipleTempFiles::_Prepare(M2DSliceStackSlice* slice) {
  Kind& kind = m_kinds[Row::kIndex];
  _GetValidTempFile(kind.temp_file);
  Row::Component(*slice).InitForOnDiskCaching(kind.temp_file);
  return true;
}
