#pragma once

#include <SliceData/platform/common/Export.h>

#include <vector>

class M2DSliceStack;

/// Holds eviction back in a list of stacks while a producer works on a run of slices, and tells it how long the run may
/// be.
///
/// It is no mutex, and only the default strategy heeds it. The stacks must outlive it.
class VELSDK_EXPORT M2DSliceStackCachingLock {
 public:
  M2DSliceStackCachingLock() = default;
  /// Unlocks the stacks, whether or not they were locked. If eviction fails then, the data stays in memory.
  ~M2DSliceStackCachingLock();
  M2DSliceStackCachingLock(M2DSliceStackCachingLock const&) = delete;
  M2DSliceStackCachingLock& operator=(M2DSliceStackCachingLock const&) = delete;

  /// A stack may be added more than once.
  void Add(M2DSliceStack const* stack);
  void Lock();
  /// Lets the strategies evict what they held back. Throws what they throw. Locks do not nest.
  void Unlock();

  /// How many slices a producer may work on at a time: the smallest advice of the stacks, at most `maximum`, rounded to
  /// the nearest multiple of `step`, halves upward, if it is more than a step. So it may exceed advice and maximum by
  /// half a step.
  ///
  /// \param maximum  how many the producer can take
  /// \param step     how many it takes in one go; positive
  unsigned long GetMaxAdvicedDataBuffer(unsigned long maximum, unsigned long step);

 private:
  std::vector<M2DSliceStack const*> m_stacks;
};
