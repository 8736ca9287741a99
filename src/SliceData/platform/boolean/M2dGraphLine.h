#pragma once

#include <SliceData/platform/boolean/M2dGraphPoint.h>

#include <cassert>
#include <cstdint>

/// A directed line between two different points of a graph.
class M2dGraphLine {
 public:
  M2dGraphPoint* GetFirst() const { return m_first; }
  M2dGraphPoint* GetSecond() const { return m_second; }
  /// Unique in the graph and never given twice; the index of the line's entries in masks.
  unsigned long GetIndex() const { return m_index; }

  /// A word for the host's use: parts of a split line inherit it.
  long GetInfo() const { return m_info; }
  void SetInfo(long info) { m_info = info; }

  /// What classification found; `M2dBoolean` says what it means.
  std::int16_t GetClassification() const { return m_classification; }
  void SetClassification(std::int16_t count) { m_classification = count; }

  /// The flag given when the line was added.
  bool GetFlag() const { return (m_flags & kFlag) != 0; }
  /// True if the line is part of a chain that does not close, so that it encloses nothing.
  bool GetIsOpen() const { return (m_flags & kOpen) != 0; }
  void SetIsOpen(bool open) { m_flags = static_cast<std::uint8_t>(open ? m_flags | kOpen : m_flags & ~kOpen); }

  /// A mark for searches over the graph, from 0 to 7.
  int GetVisitState() const { return m_visit & kVisitMask; }
  void SetVisitState(int state) {
    assert((state & ~kVisitMask) == 0);
    m_visit = static_cast<std::uint8_t>((m_visit & ~kVisitMask) | state);
  }

 private:
  friend class M2dGraph;

  static constexpr int kFlag = 1;
  static constexpr int kOpen = 2;
  static constexpr int kVisitMask = 7;

  M2dGraphPoint* m_first = nullptr;
  M2dGraphPoint* m_second = nullptr;
  unsigned long m_index = 0;
  long m_info = 0;
  std::int16_t m_classification = 0;
  std::uint8_t m_flags = 0;
  std::uint8_t m_visit = 0;
};
