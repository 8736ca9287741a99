#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

/// Growable array in blocks of `ElementsPerBlock` (a power of two) that never moves its elements.
///
/// Element i lies at position i & (ElementsPerBlock - 1) of block i / ElementsPerBlock. Growing keeps every reference
/// and pointer valid; shrinking frees the blocks that are no longer needed at once.
template <class T, unsigned long ElementsPerBlock = 1024ul>
class MBlockArray {
  static_assert((ElementsPerBlock & (ElementsPerBlock - 1)) == 0, "blocks are found by shifting and masking");

  template <class Array, class Value>
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Value>;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    Iterator() = default;
    Iterator(Array* array, unsigned long index) : m_array(array), m_index(index) { _Load(); }
    Value& operator*() const { return *m_element; }
    Value* operator->() const { return m_element; }
    Iterator& operator++() {
      ++m_element;
      if ((++m_index & (ElementsPerBlock - 1)) == 0) _Load();
      return *this;
    }
    Iterator operator++(int) {
      Iterator const before = *this;
      ++*this;
      return before;
    }
    bool operator==(Iterator const& other) const { return m_index == other.m_index; }
    bool operator!=(Iterator const& other) const { return m_index != other.m_index; }

   private:
    void _Load() { m_element = m_index < m_array->m_size ? &(*m_array)[m_index] : nullptr; }

    Array* m_array = nullptr;
    unsigned long m_index = 0;
    Value* m_element = nullptr;
  };

 public:
  using value_type = T;
  using iterator = Iterator<MBlockArray, T>;
  using const_iterator = Iterator<MBlockArray const, T const>;

  MBlockArray() = default;
  MBlockArray(MBlockArray const& other) { Assign(other); }
  MBlockArray(MBlockArray&& other) noexcept { swap(other); }
  MBlockArray& operator=(MBlockArray other) noexcept {
    swap(other);
    return *this;
  }

  unsigned long size() const { return m_size; }
  unsigned long capacity() const { return m_capacity; }
  bool empty() const { return m_size == 0; }

  T& operator[](unsigned long i) { return m_blocks[i / ElementsPerBlock][i & (ElementsPerBlock - 1)]; }
  T const& operator[](unsigned long i) const { return m_blocks[i / ElementsPerBlock][i & (ElementsPerBlock - 1)]; }

  iterator begin() { return {this, 0}; }
  iterator end() { return {this, m_size}; }
  const_iterator begin() const { return {this, 0}; }
  const_iterator end() const { return {this, m_size}; }

  /// Appends a copy of `value`; adds one block when the array is full.
  void push_back(T const& value) {
    if (m_size == m_capacity) _AddBlock();
    (*this)[m_size] = value;
    ++m_size;
  }

  /// Sets the size to `n`: new elements are copies of `value`, blocks beyond the need are freed.
  void resize(unsigned long n, T const& value) {
    if (n == m_size) return;
    _AddBlocksFor(n);
    for (unsigned long i = m_size; i < n; ++i) (*this)[i] = value;
    m_size = n;
    m_blocks.resize((n + ElementsPerBlock - 1) / ElementsPerBlock);
    m_capacity = m_blocks.size() * ElementsPerBlock;
  }

  /// Makes this array equal to `other`, reusing the blocks it has.
  void Assign(MBlockArray const& other) {
    if (this == &other) return;
    if (m_size > other.m_size) resize(other.m_size, T());
    _AddBlocksFor(other.m_size);
    for (unsigned long begin = 0; begin < other.m_size; begin += ElementsPerBlock) {
      unsigned long const count = std::min(ElementsPerBlock, other.m_size - begin);
      std::copy_n(&other[begin], count, &(*this)[begin]);
    }
    m_size = other.m_size;
  }

  void swap(MBlockArray& other) noexcept {
    m_blocks.swap(other.m_blocks);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
  }

 private:
  void _AddBlock() {
    m_blocks.push_back(std::make_unique<T[]>(ElementsPerBlock));
    m_capacity += ElementsPerBlock;
  }

  void _AddBlocksFor(unsigned long n) {
    while (m_capacity < n) _AddBlock();
  }

  std::vector<std::unique_ptr<T[]>> m_blocks;
  unsigned long m_size = 0;
  unsigned long m_capacity = 0;
};
