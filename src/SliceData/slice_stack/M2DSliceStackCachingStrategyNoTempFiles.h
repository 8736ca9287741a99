#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/I2DSliceStackCachingStrategy.h>

/// Keeps all data in memory for good.
class VELSDK_EXPORT M2DSliceStackCachingStrategyNoTempFiles final : public I2DSliceStackCachingStrategy {
 public:
  using I2DSliceStackCachingStrategy::I2DSliceStackCachingStrategy;

  void _OnAccessBorder(M2DSliceStackSlice*) override {}
  void _OnAccessVectors(M2DSliceStackSlice*) override {}
  void _OnAccessPoints(M2DSliceStackSlice*) override {}
  void _OnAccessAreas(M2DSliceStackSlice*) override {}
  void _OnCachinglocked() override {}
  void _OnCachingUnlocked() override {}
  unsigned long _GetMaxAdvicedDataBuffer() override { return 100; }
};
