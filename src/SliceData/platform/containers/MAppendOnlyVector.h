#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

/// Vector that only grows, never moves an element, and can be walked while one thread appends.
///
/// Elements live in chunks of doubling size. The count is published after the element is in place, so that a reader
/// sees whole elements only. Appending itself is serialised by the caller.
template <class T>
class MAppendOnlyVector {
  static constexpr std::size_t kFirstChunk = 32;

 public:
  std::size_t size() const { return m_size.load(std::memory_order_acquire); }

  T const& operator[](std::size_t i) const {
    auto const chunk = _ChunkOf(i);
    return m_chunks[chunk][i + kFirstChunk - (kFirstChunk << chunk)];
  }

  /// Makes room for one more element, so that the next `push_back` cannot throw.
  void ReserveOne() {
    std::size_t const chunk = _ChunkOf(m_size.load(std::memory_order_relaxed));
    if (m_chunks[chunk] == nullptr) m_chunks[chunk] = std::make_unique<T[]>(kFirstChunk << chunk);
  }

  void push_back(T value) {
    ReserveOne();
    std::size_t const i = m_size.load(std::memory_order_relaxed);
    auto const chunk = _ChunkOf(i);
    m_chunks[chunk][i + kFirstChunk - (kFirstChunk << chunk)] = std::move(value);
    m_size.store(i + 1, std::memory_order_release);
  }

 private:
  static std::size_t _ChunkOf(std::size_t i) {
    return static_cast<std::size_t>(63 - __builtin_clzll(i / kFirstChunk + 1));
  }

  std::array<std::unique_ptr<T[]>, 58> m_chunks;
  std::atomic<std::size_t> m_size{0};
};
