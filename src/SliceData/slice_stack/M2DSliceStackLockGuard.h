#pragma once

#include <SliceData/slice_stack/M2DSliceStackReference.h>

#include <utility>

/// Holds the lock of a stack for its own lifetime. The constructor waits for it.
class M2DSliceStackLockGuard {
 public:
  explicit M2DSliceStackLockGuard(M2DSliceStackReference reference) : m_reference(std::move(reference)) {
    m_reference.LockSliceStack();
  }
  ~M2DSliceStackLockGuard() { m_reference.UnlockSliceStack(); }

  M2DSliceStackLockGuard(M2DSliceStackLockGuard const&) = delete;
  M2DSliceStackLockGuard& operator=(M2DSliceStackLockGuard const&) = delete;

 private:
  M2DSliceStackReference m_reference;
};
