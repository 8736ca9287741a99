#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/memory/MSharedMemoryBlockPool.h>

/// Access to the process-wide source of memory blocks.
class VELSDK_EXPORT MMemoryPool {
 public:
  /// The pool that every element pool of the process draws its blocks from. It lives as long as the process, so that
  /// objects with static storage may still give their blocks back.
  static MSharedMemoryBlockPool& GetGlobalSharedMemoryBlockPool();
};
