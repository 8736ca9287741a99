#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstddef>
#include <mutex>

/// Deals in memory blocks of 4096 bytes, aligned to their size. Thread-safe.
///
/// Blocks are carved from chunks of 2 MiB, aligned to their size and touched as a whole when they are made: the page
/// faults of fresh memory are most of what a fresh element costs. A chunk begins with a block that holds its
/// book-keeping, so that the chunk of a block is found by masking its address.
///
/// Invariant: every chunk is in exactly one of three places: the ring of chunks with free blocks, the stack of idle
/// chunks (all blocks free, at most `kIdleChunksKept`), or in no list because all its blocks are in use.
class VELSDK_EXPORT MSharedMemoryBlockPool {
 public:
  static constexpr std::size_t kBlockSize = 4096;
  static constexpr std::size_t kChunkSize = std::size_t{2} << 20;
  /// Chunks that stay with the pool when nothing uses them, for the next slice.
  static constexpr std::size_t kIdleChunksKept = 16;

  MSharedMemoryBlockPool() = default;
  ~MSharedMemoryBlockPool();
  MSharedMemoryBlockPool(MSharedMemoryBlockPool const&) = delete;
  MSharedMemoryBlockPool& operator=(MSharedMemoryBlockPool const&) = delete;

  /// One block, uninitialised. Throws `std::bad_alloc` when the system has no memory left; the pool is unchanged then.
  void* Allocate();

  /// Takes back a chain of blocks from this pool that are linked through their first word, from `first` to `last`
  /// inclusive. The link of `last` is not read.
  void DeAllocateBlock(void* first, void* last) noexcept;

  /// Bytes that the pool holds from the system, in use or idle.
  std::size_t GetReservedBytes() const;

 private:
  struct Chunk;

  Chunk* _TakeChunk();
  void _Link(Chunk* chunk) noexcept;
  void _Unlink(Chunk* chunk) noexcept;

  mutable std::mutex m_mutex;
  Chunk* m_partial = nullptr;
  Chunk* m_idle = nullptr;
  std::size_t m_num_idle = 0;
  std::size_t m_num_chunks = 0;
};
