#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

/// An array whose spare room, the gap, lies where it was last changed. So a change costs what lies between it and the
/// one before: nothing for changes at one end, or for those that go through the array in order.
///
/// Reading by index is one read of an array. `T` is trivially copyable.
template <class T>
class MGapVector {
 public:
  MGapVector() = default;
  /// Takes over elements; the gap is at their end.
  explicit MGapVector(std::vector<T> elements) : m_places(std::move(elements)), m_gap(m_places.size()) {}

  std::size_t GetSize() const { return m_places.size() - m_gap_size; }
  T const& operator[](std::size_t index) const { return m_places[index < m_gap ? index : index + m_gap_size]; }

  /// How many elements a change at `index` moves.
  std::size_t GetDistance(std::size_t index) const { return index < m_gap ? m_gap - index : index - m_gap; }

  /// Makes the next `Insert` one before the element at `index`. Throws `std::bad_alloc` without memory; nothing has
  /// changed then.
  void PrepareInsert(std::size_t index) {
    assert(index <= GetSize());
    if (m_gap_size == 0) _Grow();
    _MoveGap(index);
  }
  /// Only after `PrepareInsert`, so that it cannot fail.
  void Insert(T const& element) noexcept {
    assert(m_gap_size != 0);
    m_places[m_gap++] = element;
    --m_gap_size;
  }

  void Erase(std::size_t index) noexcept {
    assert(index < GetSize());
    _MoveGap(index);
    ++m_gap_size;
  }

 private:
  static_assert(std::is_trivially_copyable_v<T>, "nothing is destroyed where it is erased");

  void _Grow() {
    std::vector<T> places(m_places.size() + m_places.size() / 2 + 8);
    auto const gap = m_places.begin() + static_cast<std::ptrdiff_t>(m_gap);
    std::copy(m_places.begin(), gap, places.begin());
    std::copy_backward(gap, m_places.end(), places.end());
    m_gap_size = places.size() - m_places.size();
    m_places = std::move(places);
  }

  void _MoveGap(std::size_t index) noexcept {
    auto const place = [this](std::size_t i) { return m_places.begin() + static_cast<std::ptrdiff_t>(i); };
    if (m_gap_size != 0) {
      if (index < m_gap) {
        std::copy_backward(place(index), place(m_gap), place(m_gap + m_gap_size));
      } else {
        std::copy(place(m_gap + m_gap_size), place(index + m_gap_size), place(m_gap));
      }
    }
    m_gap = index;
  }

  std::vector<T> m_places;
  std::size_t m_gap = 0;
  std::size_t m_gap_size = 0;
};
