#include <SliceData/platform/boolean/M2dGraphPoint.h>

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

M2dGraphPoint::~M2dGraphPoint() {
  if (!_IsInPlace()) std::free(m_lines.array);
}

void M2dGraphPoint::_Grow() {
  if (m_num_lines == kMostLines) {
    throw std::length_error("More than 65535 lines meet at the point (" + std::to_string(m_x) + ", " +
                            std::to_string(m_y) + "); remove contours that are there many times over");
  }
  std::size_t const size = (m_num_lines + std::size_t{2}) * sizeof(M2dGraphLine*);
  auto* const array = static_cast<M2dGraphLine**>(std::realloc(_IsInPlace() ? nullptr : m_lines.array, size));
  if (array == nullptr) throw std::bad_alloc();
  if (_IsInPlace()) std::copy_n(m_lines.in_place, m_num_lines, array);
  m_lines.array = array;
  m_capacity = m_num_lines + 2u;
}

void M2dGraphPoint::_RemoveLine(M2dGraphLine const* line) noexcept {
  M2dGraphLine** const lines = _Lines();
  M2dGraphLine** const last = lines + m_num_lines;
  M2dGraphLine** const found = std::find(lines, last, line);
  assert(found != last);
  std::copy(found + 1, last, found);
  --m_num_lines;
  if (m_num_lines % 2 != 0 || _IsInPlace()) return;
  if (m_num_lines == kInPlace) {
    M2dGraphLine** const array = m_lines.array;
    std::copy_n(array, kInPlace, m_lines.in_place);
    std::free(array);
  } else {
    auto* const array = static_cast<M2dGraphLine**>(std::realloc(m_lines.array, m_num_lines * sizeof(M2dGraphLine*)));
    if (array == nullptr) return;  // the larger one serves as well
    m_lines.array = array;
  }
  m_capacity = m_num_lines;
}
