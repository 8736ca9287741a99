#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

/// Elements that are made one by one, stay where they are and go all at once. The blocks that hold them grow.
template <class T>
class MGraphStore {
 public:
  MGraphStore() = default;
  MGraphStore(MGraphStore const&) = delete;
  MGraphStore& operator=(MGraphStore const&) = delete;
  ~MGraphStore() {
    for (Block& block : m_blocks) std::destroy_n(block.elements, block.size);
  }

  std::size_t GetSize() const { return m_size; }

  template <class... Arguments>
  T& Emplace(Arguments&&... arguments) {
    if (m_blocks.empty() || m_blocks.back().size == m_blocks.back().capacity) _AddBlock();
    Block& block = m_blocks.back();
    T* const element = new (block.elements + block.size) T(std::forward<Arguments>(arguments)...);
    ++block.size;
    ++m_size;
    return *element;
  }

 private:
  static constexpr std::size_t kSmallest = 64;
  static constexpr std::size_t kLargest = 4096;

  struct Release {
    void operator()(void* memory) const { ::operator delete(memory); }
  };
  struct Block {
    std::unique_ptr<void, Release> memory;
    T* elements;
    std::size_t size;
    std::size_t capacity;
  };

  void _AddBlock() {
    std::size_t const capacity = std::clamp(m_size, kSmallest, kLargest);
    std::unique_ptr<void, Release> memory(::operator new(capacity * sizeof(T)));
    T* const elements = static_cast<T*>(memory.get());
    m_blocks.push_back({std::move(memory), elements, 0, capacity});
  }

  std::vector<Block> m_blocks;
  std::size_t m_size = 0;
};
