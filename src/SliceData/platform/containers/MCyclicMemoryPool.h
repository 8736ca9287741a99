#pragma once

#include <SliceData/platform/memory/IReleaseableMemory.h>
#include <SliceData/platform/memory/MMemoryBlock.h>
#include <SliceData/platform/memory/MMemoryPool.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

/// Pool of elements that are made at high rates and mostly freed together.
///
/// Freeing costs a few writes: the element is marked and its block noted, nothing else. Only when the pool would have
/// to grow although more than a block's worth of elements is free are the marked elements gathered into the free list,
/// in the order of the blocks and of the elements in them. When the last element is freed, all blocks go back at once.
///
/// `T` is trivially destructible, at least a word wide and has a 32-bit `pool_marker`: 0 while live, 1 once freed.
/// Not thread-safe: all users of one pool, such as the contours of a layer, belong to one thread at a time.
template <class T>
class MCyclicMemoryPool final : public IReleaseableMemory {
 public:
  static constexpr unsigned long kElementsPerBlock = (MSharedMemoryBlockPool::kBlockSize - sizeof(void*)) / sizeof(T);

  MCyclicMemoryPool() = default;
  ~MCyclicMemoryPool() { ReleaseMemory(false); }
  MCyclicMemoryPool(MCyclicMemoryPool const&) = delete;
  MCyclicMemoryPool& operator=(MCyclicMemoryPool const&) = delete;

  /// An element with marker 0; its other members are whatever the memory held. Throws `std::bad_alloc` when there is no
  /// memory left; the pool is unchanged then.
  T* Allocate() {
    T* element = m_free_list;
    if (element != nullptr) {
      m_free_list = _FirstWord<T*>(element);
    } else if (m_bump != m_block_end) {
      element = m_bump++;
    } else {
      element = _AllocateBeyondBlock();
    }
    ++m_num_live;
    element->pool_marker = 0;
    return element;
  }

  /// Frees an element of this pool. Freeing it twice does nothing. Freeing the last live element gives all blocks back.
  void Free(T* element) noexcept {
    if (element->pool_marker != 0) return;
    element->pool_marker = 1;
    if (--m_num_live == 0) {
      ReleaseMemory(false);
      return;
    }
    auto const block =
        reinterpret_cast<std::uintptr_t>(element) & ~(std::uintptr_t{MSharedMemoryBlockPool::kBlockSize} - 1);
    unsigned long const index = _FirstWord<unsigned long>(reinterpret_cast<void const*>(block));
    m_blocks_with_freed[index / 64] |= std::uint64_t{1} << (index % 64);
  }

  void ReleaseMemory(bool only_if_unused) noexcept override {
    if (only_if_unused && m_num_live != 0) return;
    if (!m_blocks.empty()) {
      // Chained from the last to the first: the shared pool hands out what it got last, so the next user gets the
      // blocks in the order of their addresses again, which prefetching likes.
      for (std::size_t i = m_blocks.size(); --i > 0;) {
        _SetFirstWord(m_blocks[i].memory, m_blocks[i - 1].memory);
      }
      MMemoryPool::GetGlobalSharedMemoryBlockPool().DeAllocateBlock(m_blocks.back().memory, m_blocks.front().memory);
      m_blocks.clear();
      m_blocks_with_freed.clear();
    }
    m_bump = m_block_end = m_free_list = nullptr;
    m_num_live = m_num_blocks = m_next_block = 0;
  }

  unsigned long GetNumLive() const { return m_num_live; }
  unsigned long GetNumBlocks() const { return m_num_blocks; }

 private:
  static_assert(std::is_trivially_destructible_v<T>, "elements are dropped with their block");
  static_assert(sizeof(T) >= sizeof(void*) && alignof(T) <= alignof(void*), "a freed element holds a link");

  /// A freed element holds the address of the next one, and a block its index, in the first word.
  template <class Word>
  static Word _FirstWord(void const* memory) {
    Word word;
    std::memcpy(&word, memory, sizeof word);
    return word;
  }
  template <class Word>
  static void _SetFirstWord(void* memory, Word word) {
    std::memcpy(memory, &word, sizeof word);
  }

  static T* _FirstElement(MMemoryBlock block) {
    return reinterpret_cast<T*>(static_cast<char*>(block.memory) + sizeof(void*));
  }

  T* _AllocateBeyondBlock() {
    if (m_next_block == m_num_blocks) {
      // The element about to be handed out counts as live already.
      if (kElementsPerBlock * m_num_blocks >= m_num_live + 1 + kElementsPerBlock) {
        _GatherFreed();
        T* const element = m_free_list;
        m_free_list = _FirstWord<T*>(element);
        return element;
      }
      _AddBlock();
    }
    m_bump = _FirstElement(m_blocks[m_next_block++]);
    m_block_end = m_bump + kElementsPerBlock;
    return m_bump++;
  }

  void _AddBlock() {
    m_blocks.emplace_back();
    try {
      m_blocks_with_freed.resize((m_blocks.size() + 63) / 64);
      m_blocks.back().memory = MMemoryPool::GetGlobalSharedMemoryBlockPool().Allocate();
    } catch (...) {
      m_blocks.pop_back();
      throw;
    }
    _SetFirstWord(m_blocks.back().memory, m_num_blocks++);
  }

  /// Blocks in which nothing was freed are skipped, so that the cost is in what was freed and not in what is live.
  void _GatherFreed() noexcept {
    T* last = nullptr;
    for (std::size_t word = 0; word < m_blocks_with_freed.size(); ++word) {
      for (std::uint64_t bits = m_blocks_with_freed[word]; bits != 0; bits &= bits - 1) {
        T* const first = _FirstElement(m_blocks[word * 64 + static_cast<unsigned>(__builtin_ctzll(bits))]);
        for (T* element = first; element != first + kElementsPerBlock; ++element) {
          if (element->pool_marker == 0) continue;
          if (last == nullptr) {
            m_free_list = element;
          } else {
            _SetFirstWord(last, element);
          }
          last = element;
        }
      }
      m_blocks_with_freed[word] = 0;
    }
    if (last != nullptr) _SetFirstWord<T*>(last, nullptr);
  }

  std::vector<MMemoryBlock> m_blocks;
  T* m_bump = nullptr;
  T* m_block_end = nullptr;
  T* m_free_list = nullptr;
  unsigned long m_num_live = 0;
  unsigned long m_num_blocks = 0;
  unsigned long m_next_block = 0;
  std::vector<std::uint64_t> m_blocks_with_freed;
};
