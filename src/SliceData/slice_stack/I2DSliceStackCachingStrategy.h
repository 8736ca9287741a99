#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceStack;
class M2DSliceStackSlice;

/// Decides, whenever a component of a stack's slice is accessed, which others leave memory. Makes the slices of its
/// stack.
///
/// A strategy lives as long as its stack or one of its slices shares it. It takes no lock and runs on the thread that
/// accesses a slice. Strategies are made one at a time.
class VELSDK_EXPORT I2DSliceStackCachingStrategy {
 public:
  explicit I2DSliceStackCachingStrategy(M2DSliceStack* stack);
  I2DSliceStackCachingStrategy(I2DSliceStackCachingStrategy const&) = delete;
  I2DSliceStackCachingStrategy& operator=(I2DSliceStackCachingStrategy const&) = delete;

  // The order of the virtual operations is part of the interface.

  virtual ~I2DSliceStackCachingStrategy();

  /// A new slice at z, bound to the stack, which takes ownership.
  virtual M2DSliceStackSlice* _CreateSlice(long z);
  /// A slice leaves the stack.
  virtual void _OnRemoveSlice(M2DSliceStackSlice* slice);
  /// Prepare a component to be filled on disk without ever being in memory; false if this strategy does not do that.
  virtual bool _PrepareBorderForCaching(M2DSliceStackSlice* slice);
  virtual bool _PrepareVectorsForCaching(M2DSliceStackSlice* slice);
  virtual bool _PreparePointsForCaching(M2DSliceStackSlice* slice);
  virtual bool _PrepareAreasForCaching(M2DSliceStackSlice* slice);
  /// A component is about to be brought into memory.
  virtual void _OnAccessBorder(M2DSliceStackSlice* slice) = 0;
  virtual void _OnAccessVectors(M2DSliceStackSlice* slice) = 0;
  virtual void _OnAccessPoints(M2DSliceStackSlice* slice) = 0;
  virtual void _OnAccessAreas(M2DSliceStackSlice* slice) = 0;
  virtual void _OnCachinglocked() = 0;
  virtual void _OnCachingUnlocked() = 0;
  virtual unsigned long _GetMaxAdvicedDataBuffer() = 0;

  /// How many slices a producer may hold in work at a time.
  unsigned long GetMaxAdvicedDataBuffer() { return _GetMaxAdvicedDataBuffer(); }

  /// Hold eviction back, as far as the strategy heeds it. Does not nest: one unlock ends any number of locks.
  void LockCaching();
  void UnlockCaching();

  unsigned long GetInstanceNumber() const { return m_instance_number; }
  void SetStack(M2DSliceStack* stack) { m_stack = stack; }

 protected:
  M2DSliceStack* m_stack;
  unsigned long m_instance_number;
  bool m_caching_locked = false;

 private:
  static unsigned long m_num_instances;  ///< strategies ever made
};
