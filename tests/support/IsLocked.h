#pragma once

#include <SliceData/slice_stack/M2DSliceStack.h>

#include <future>

namespace testing_support {

/// Asked from another thread: the owner of a lock can take it again.
inline bool IsLocked(M2DSliceStack& stack) {
  return std::async(std::launch::async,
                    [reference = stack.GetSharedReference()]() mutable {
                      if (!reference.TryLockSliceStack()) return true;
                      reference.UnlockSliceStack();
                      return false;
                    })
      .get();
}

}  // namespace testing_support
