#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/I2DSliceStackCachingStrategy.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

#include <list>

/// Takes a slice as one unit: its four components come into memory together and leave together.
///
/// All stacks of this kind share one list of recent slices, one limit and one current temp file, so the limit bounds
/// the memory of the process. The slice that was not used for longest leaves first, whatever its stack. Locking does
/// not hold eviction back. Such stacks belong to one thread at a time.
class VELSDK_EXPORT M2DSliceStackCachingStrategySingleTempFile final : public I2DSliceStackCachingStrategy {
 public:
  using I2DSliceStackCachingStrategy::I2DSliceStackCachingStrategy;

  /// The limit of the shared current file in bytes.
  static void SetMaxFileSize(unsigned long size);
  /// How many slices stay in memory, in all stacks together; 100 at first. Heeded at the next access.
  static void SetNumCachedSlices(unsigned long count);

  M2DSliceStackSlice* _CreateSlice(long z) override;
  void _OnRemoveSlice(M2DSliceStackSlice* slice) override;
  /// Areas cannot be prepared for pushing, unlike the other three.
  bool _PrepareBorderForCaching(M2DSliceStackSlice* slice) override;
  bool _PrepareVectorsForCaching(M2DSliceStackSlice* slice) override;
  bool _PreparePointsForCaching(M2DSliceStackSlice* slice) override;
  void _OnAccessBorder(M2DSliceStackSlice* slice) override { _OnAccessSlice(slice); }
  void _OnAccessVectors(M2DSliceStackSlice* slice) override { _OnAccessSlice(slice); }
  void _OnAccessPoints(M2DSliceStackSlice* slice) override { _OnAccessSlice(slice); }
  void _OnAccessAreas(M2DSliceStackSlice* slice) override { _OnAccessSlice(slice); }
  void _OnCachinglocked() override {}
  void _OnCachingUnlocked() override {}
  unsigned long _GetMaxAdvicedDataBuffer() override { return 4 * m_num_cached_slices; }

 private:
  class MSlice;

  static void _OnAccessSlice(M2DSliceStackSlice* slice);

  static std::list<MSlice*> m_recent_slices;  ///< the most recent first
  static unsigned long m_num_cached_slices;
};
