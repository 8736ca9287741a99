#include <SliceData/disk_cache/M2DSliceStackCachingLock.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <algorithm>

M2DSliceStackCachingLock::~M2DSliceStackCachingLock() {
  for (M2DSliceStack const* const stack : m_stacks) {
    auto const& strategy = stack->_GetCachingStrategy();
    if (strategy == nullptr) continue;
    try {
      strategy->UnlockCaching();
    } catch (...) {
      // What could not be written is still in memory and goes out with a later eviction.
    }
  }
}

void M2DSliceStackCachingLock::Add(M2DSliceStack const* stack) {
  m_stacks.push_back(stack);
}

void M2DSliceStackCachingLock::Lock() {
  for (M2DSliceStack const* const stack : m_stacks) {
    if (auto const& strategy = stack->_GetCachingStrategy()) strategy->LockCaching();
  }
}

void M2DSliceStackCachingLock::Unlock() {
  for (M2DSliceStack const* const stack : m_stacks) {
    if (auto const& strategy = stack->_GetCachingStrategy()) strategy->UnlockCaching();
  }
}

unsigned long M2DSliceStackCachingLock::GetMaxAdvicedDataBuffer(unsigned long maximum, unsigned long step) {
  unsigned long result = maximum;
  for (M2DSliceStack const* const stack : m_stacks) {
    if (auto const& strategy = stack->_GetCachingStrategy())
      result = std::min(result, strategy->GetMaxAdvicedDataBuffer());
  }
  if (result > step) {
    result += step / 2;
    result -= result % step;
  }
  return result;
}
