#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>

class M2DSliceStackCachingStrategySingleTempFile::MSlice final : public M2DSliceStackSlice {
 public:
  MSlice(long z, M2DSliceStack* stack)
      : M2DSliceStackSlice(M2DSliceZArea(z), stack), m_recent_position(m_recent_slices.end()) {}
  ~MSlice() override { Leave(); }

  /// Becomes the most recent slice.
  void Enter() {
    if (m_recent_position != m_recent_slices.end()) {
      m_recent_slices.splice(m_recent_slices.begin(), m_recent_slices, m_recent_position);
    } else {
      m_recent_position = m_recent_slices.insert(m_recent_slices.begin(), this);
    }
  }

  void Leave() {
    if (m_recent_position != m_recent_slices.end()) m_recent_slices.erase(m_recent_position);
    m_recent_position = m_recent_slices.end();
  }

 private:
  std::list<MSlice*>::iterator m_recent_position;  ///< the end of the list while the slice is not in it
};

/// Before other static objects, since a host's may be stacks.
__attribute__((init_priority(101))) std::list<M2DSliceStackCachingStrategySingleTempFile::MSlice*>
    M2DSliceStackCachingStrategySingleTempFile::m_recent_slices;
unsigned long M2DSliceStackCachingStrategySingleTempFile::m_num_cached_slices = 100;

void M2DSliceStackCachingStrategySingleTempFile::SetMaxFileSize(unsigned long size) {
  M2DSliceTempFile::SetMaxFileSize(size);
}

void M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(unsigned long count) {
  m_num_cached_slices = count;
}

M2DSliceStackSlice* M2DSliceStackCachingStrategySingleTempFile::_CreateSlice(long z) {
  return new MSlice(z, m_stack);
}

void M2DSliceStackCachingStrategySingleTempFile::_OnRemoveSlice(M2DSliceStackSlice* slice) {
  if (auto* const own = dynamic_cast<MSlice*>(slice)) own->Leave();
}

bool M2DSliceStackCachingStrategySingleTempFile::_PrepareBorderForCaching(M2DSliceStackSlice* slice) {
  slice->GetBorderComponent().InitForOnDiskCaching(M2DSliceTempFile::GetInstance());
  return true;
}

bool M2DSliceStackCachingStrategySingleTempFile::_PrepareVectorsForCaching(M2DSliceStackSlice* slice) {
  slice->GetVectorsComponent().InitForOnDiskCaching(M2DSliceTempFile::GetInstance());
  return true;
}

bool M2DSliceStackCachingStrategySingleTempFile::_PreparePointsForCaching(M2DSliceStackSlice* slice) {
  slice->GetPointsComponent().InitForOnDiskCaching(M2DSliceTempFile::GetInstance());
  return true;
}

void M2DSliceStackCachingStrategySingleTempFile::_OnAccessSlice(M2DSliceStackSlice* slice) {
  M2DSlice::ForEachRow([&](auto row) { decltype(row)::Component(*slice).ValidateData(); });
  static_cast<MSlice*>(slice)->Enter();
  while (m_recent_slices.size() > m_num_cached_slices) {
    MSlice* const oldest = m_recent_slices.back();
    if (!oldest->_SetInInitialSourceState()) {
      M2DSlice::ForEachRow(
          [&](auto row) { decltype(row)::Component(*oldest).ValidateDiskState(M2DSliceTempFile::GetInstance()); });
    }
    oldest->Leave();
  }
}
