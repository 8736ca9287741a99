#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstdint>

class M2dGraphLine;

/// A position at which lines of a graph meet, in internal units (0.1 µm).
///
/// The lines are listed in the order in which they were added, if the graph keeps connectivity; at most 65535.
class VELSDK_EXPORT M2dGraphPoint {
 public:
  M2dGraphPoint(std::int32_t x, std::int32_t y) : m_x(x), m_y(y) {}
  ~M2dGraphPoint();
  M2dGraphPoint(M2dGraphPoint const&) = delete;
  M2dGraphPoint& operator=(M2dGraphPoint const&) = delete;

  long GetX() const { return m_x; }
  long GetY() const { return m_y; }

  std::uint16_t GetNumLines() const { return m_num_lines; }
  M2dGraphLine* const* begin() const { return _IsInPlace() ? m_lines.in_place : m_lines.array; }
  M2dGraphLine* const* end() const { return begin() + m_num_lines; }

  /// Makes room for one more line at least. Throws `std::length_error` if 65535 lines meet here
  /// already, `std::bad_alloc` without memory; nothing has changed then.
  void _ReserveLine() {
    if (m_num_lines == m_capacity || m_num_lines == kMostLines) _Grow();
  }
  /// Appends a line, for which there is room.
  void _AppendLine(M2dGraphLine* line) { _Lines()[m_num_lines++] = line; }
  /// Takes a line out; those behind it move up, and room that is no longer needed goes.
  void _RemoveLine(M2dGraphLine const* line) noexcept;

 private:
  static constexpr std::uint16_t kMostLines = 65535;
  static constexpr std::uint16_t kInPlace = 4;  ///< two contours that cross are the most that most points see

  bool _IsInPlace() const { return m_capacity == kInPlace; }
  M2dGraphLine** _Lines() { return _IsInPlace() ? m_lines.in_place : m_lines.array; }
  void _Grow();

  std::int32_t m_x;
  std::int32_t m_y;
  union {
    M2dGraphLine* in_place[kInPlace];
    M2dGraphLine** array;
  } m_lines = {};
  std::uint16_t m_num_lines = 0;
  std::uint32_t m_capacity = kInPlace;  ///< even
};
