#include <SliceData/platform/memory/MMemoryPool.h>
#include <SliceData/platform/memory/MSharedMemoryBlockPool.h>

#include <cassert>
#include <cstdint>
#include <new>
#include <sys/mman.h>

namespace {

constexpr std::size_t kBlocksPerChunk = MSharedMemoryBlockPool::kChunkSize / MSharedMemoryBlockPool::kBlockSize - 1;

void*& NextBlock(void* block) {
  return *static_cast<void**>(block);
}

void* MapAnonymous(std::size_t size) {
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return memory;
}

bool IsChunkAligned(void const* memory) {
  return reinterpret_cast<std::uintptr_t>(memory) % MSharedMemoryBlockPool::kChunkSize == 0;
}

/// Successive mappings mostly lie side by side, so that a plain request is aligned again once one was.
char* MapAlignedChunk() {
  constexpr std::size_t size = MSharedMemoryBlockPool::kChunkSize;
  char* memory = static_cast<char*>(MapAnonymous(size));
  if (IsChunkAligned(memory)) return memory;
  munmap(memory, size);

  memory = static_cast<char*>(MapAnonymous(2 * size));
  std::size_t const excess_in_front = (size - reinterpret_cast<std::uintptr_t>(memory) % size) % size;
  if (excess_in_front != 0) munmap(memory, excess_in_front);
  char* const aligned = memory + excess_in_front;
  munmap(aligned + size, size - excess_in_front);
  return aligned;
}

}  // namespace

/// Sits in the first block of its chunk.
struct MSharedMemoryBlockPool::Chunk {
  Chunk* next = nullptr;
  Chunk* previous = nullptr;
  void* free_blocks = nullptr;
  std::size_t num_free = 0;

  /// Maps a chunk and threads its blocks in address order.
  static Chunk* Make() {
    char* const memory = MapAlignedChunk();
    madvise(memory, kChunkSize, MADV_HUGEPAGE);
    Chunk* const chunk = new (memory) Chunk;
    for (std::size_t i = kBlocksPerChunk; i > 0; --i) chunk->Push(memory + i * kBlockSize);
    return chunk;
  }

  static Chunk* Of(void* block) {
    return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(block) & ~(std::uintptr_t{kChunkSize} - 1));
  }

  void Push(void* block) noexcept {
    NextBlock(block) = free_blocks;
    free_blocks = block;
    ++num_free;
  }

  void* Pop() noexcept {
    void* const block = free_blocks;
    free_blocks = NextBlock(block);
    --num_free;
    return block;
  }
};

MSharedMemoryBlockPool::~MSharedMemoryBlockPool() {
  for (Chunk* const list : {m_partial, m_idle}) {
    for (Chunk* chunk = list; chunk != nullptr;) {
      Chunk* const next = chunk->next;
      munmap(chunk, kChunkSize);
      chunk = next;
    }
  }
}

void* MSharedMemoryBlockPool::Allocate() {
  std::lock_guard<std::mutex> const lock(m_mutex);
  if (m_partial == nullptr) _Link(_TakeChunk());
  Chunk* const chunk = m_partial;
  void* const block = chunk->Pop();
  if (chunk->num_free == 0) _Unlink(chunk);
  return block;
}

void MSharedMemoryBlockPool::DeAllocateBlock(void* first, void* last) noexcept {
  std::lock_guard<std::mutex> const lock(m_mutex);
  for (void* block = first;;) {
    bool const is_last = block == last;
    void* const next = is_last ? nullptr : NextBlock(block);
    Chunk* const chunk = Chunk::Of(block);
    if (chunk->num_free == 0) _Link(chunk);
    chunk->Push(block);
    if (chunk->num_free == kBlocksPerChunk) {
      _Unlink(chunk);
      if (m_num_idle < kIdleChunksKept) {
        chunk->next = m_idle;
        m_idle = chunk;
        ++m_num_idle;
      } else {
        munmap(chunk, kChunkSize);
        --m_num_chunks;
      }
    }
    if (is_last) return;
    block = next;
  }
}

std::size_t MSharedMemoryBlockPool::GetReservedBytes() const {
  std::lock_guard<std::mutex> const lock(m_mutex);
  return m_num_chunks * kChunkSize;
}

MSharedMemoryBlockPool::Chunk* MSharedMemoryBlockPool::_TakeChunk() {
  if (m_idle == nullptr) {
    Chunk* const chunk = Chunk::Make();
    ++m_num_chunks;
    return chunk;
  }
  Chunk* const chunk = m_idle;
  m_idle = chunk->next;
  --m_num_idle;
  return chunk;
}

void MSharedMemoryBlockPool::_Link(Chunk* chunk) noexcept {
  chunk->previous = nullptr;
  chunk->next = m_partial;
  if (m_partial != nullptr) m_partial->previous = chunk;
  m_partial = chunk;
}

void MSharedMemoryBlockPool::_Unlink(Chunk* chunk) noexcept {
  (chunk->previous != nullptr ? chunk->previous->next : m_partial) = chunk->next;
  if (chunk->next != nullptr) chunk->next->previous = chunk->previous;
}

MSharedMemoryBlockPool& MMemoryPool::GetGlobalSharedMemoryBlockPool() {
  static auto* const pool = new MSharedMemoryBlockPool;
  return *pool;
}
