#pragma once

#include <SliceData/disk_cache/M2DSliceStackCachingStrategyOwnFiles.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

#include <array>
#include <boost/shared_ptr.hpp>
#include <map>

class M2DSliceTempFile;

/// Keeps in memory what lies near the height that is being worked on; made for work that climbs a stack.
///
/// Each of the four kinds of content has a range of z around the last access that fell outside it. An access outside
/// moves the range there and evicts what lies below it. What lies above it is not evicted for that: as many slices as
/// lie above leave from the bottom of what is in memory, even the one just accessed. Locking does not hold eviction
/// back, and a slice that could be read from its initial source again is written all the same.
class VELSDK_EXPORT M2DSliceStackCachingStrategyZRange final : public M2DSliceStackCachingStrategyOwnFiles {
 public:
  /// Half the height of the range, in internal units.
  static constexpr long kHalfRange = 60000;

  using M2DSliceStackCachingStrategyOwnFiles::M2DSliceStackCachingStrategyOwnFiles;

  M2DSliceStackSlice* _CreateSlice(long z) override;
  void _OnRemoveSlice(M2DSliceStackSlice* slice) override;
  void _OnAccessBorder(M2DSliceStackSlice* slice) override;
  void _OnAccessVectors(M2DSliceStackSlice* slice) override;
  void _OnAccessPoints(M2DSliceStackSlice* slice) override;
  void _OnAccessAreas(M2DSliceStackSlice* slice) override;
  void _OnCachinglocked() override {}
  void _OnCachingUnlocked() override {}
  unsigned long _GetMaxAdvicedDataBuffer() override { return 100; }

 private:
  class MSlice;

  /// Equal to no real z at first, so that the first access moves it.
  struct Range {
    long minimum = -2147483648;
    long maximum = -2147483648;
  };

  struct Kind {
    std::map<long, MSlice*> slices;  ///< those in memory by their z; one at each z
    Range range;
    boost::shared_ptr<M2DSliceTempFile> temp_file;
  };

  template <class Row>
  void _OnAccess(M2DSliceStackSlice* slice);
  template <class Row>
  void _EvictLowest();

  std::array<Kind, M2DSlice::kNumRows> m_kinds;  ///< in the order of the rows of a slice
};
