#pragma once

#include <SliceData/disk_cache/M2DSliceStackCachingStrategyOwnFiles.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

#include <array>
#include <boost/shared_ptr.hpp>
#include <list>

class M2DSliceTempFile;

/// The default: each of the four kinds of content has its own list of recent slices, limit and temp file in its stack,
/// so that work on borders alone never touches vectors.
///
/// A list that grows beyond its limit is cut to half the limit at once. Locking holds that back. A slice that can be
/// read from its initial source again is dropped as a whole, whichever list it leaves.
class VELSDK_EXPORT M2DSliceStackCachingStrategyMultipleTempFiles final : public M2DSliceStackCachingStrategyOwnFiles {
 public:
  static constexpr unsigned long kDefaultCacheSize = 10;

  using M2DSliceStackCachingStrategyOwnFiles::M2DSliceStackCachingStrategyOwnFiles;

  /// How many slices of each kind may stay in memory. Heeded at the next access of that kind.
  void SetCacheSizes(unsigned long borders, unsigned long vectors, unsigned long points, unsigned long areas);

  M2DSliceStackSlice* _CreateSlice(long z) override;
  void _OnRemoveSlice(M2DSliceStackSlice* slice) override;
  bool _PrepareBorderForCaching(M2DSliceStackSlice* slice) override;
  bool _PrepareVectorsForCaching(M2DSliceStackSlice* slice) override;
  bool _PreparePointsForCaching(M2DSliceStackSlice* slice) override;
  bool _PrepareAreasForCaching(M2DSliceStackSlice* slice) override;
  void _OnAccessBorder(M2DSliceStackSlice* slice) override;
  void _OnAccessVectors(M2DSliceStackSlice* slice) override;
  void _OnAccessPoints(M2DSliceStackSlice* slice) override;
  void _OnAccessAreas(M2DSliceStackSlice* slice) override;
  void _OnCachinglocked() override {}
  void _OnCachingUnlocked() override;
  unsigned long _GetMaxAdvicedDataBuffer() override;

 private:
  class MSlice;

  struct Kind {
    unsigned long cache_size = kDefaultCacheSize;
    std::list<MSlice*> recent;  ///< the most recent first
    boost::shared_ptr<M2DSliceTempFile> temp_file;
  };

  template <class Row>
  void _OnAccess(M2DSliceStackSlice* slice);
  template <class Row>
  void _EvictHalf();
  template <class Row>
  bool _Prepare(M2DSliceStackSlice* slice);

  std::array<Kind, M2DSlice::kNumRows> m_kinds;  ///< in the order of the rows of a slice
};
