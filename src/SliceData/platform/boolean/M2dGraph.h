#pragma once

#include <SliceData/platform/boolean/DLIST_ELEMENT.h>
#include <SliceData/platform/boolean/M2dGraphLine.h>
#include <SliceData/platform/boolean/M2dGraphPoint.h>
#include <SliceData/platform/boolean/MDataMask.h>
#include <SliceData/platform/boolean/MGraphStore.h>
#include <SliceData/platform/common/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// Points of the plane and directed lines between them. Owns both.
///
/// A point stays until the graph dies, whether lines meet there or not.
class VELSDK_EXPORT M2dGraph {
 public:
  using Line = DLIST_ELEMENT<M2dGraphLine>;

  /// The lines in the order in which they were added; a line that is split keeps its place for all of its parts.
  class VELSDK_EXPORT MLineList : public MDataMaskList<M2dGraphLine> {
   public:
    MLineList() = default;
    virtual ~MLineList() = default;

    Line* GetFirst() { return m_first; }
    Line const* GetFirst() const { return m_first; }
    Line* GetLast() { return m_last; }
    Line const* GetLast() const { return m_last; }
    unsigned long GetCount() const { return m_count; }
    bool IsEmpty() const { return m_count == 0; }
    /// The index that the next line gets.
    unsigned long GetNextIndex() const { return m_next_index; }

    /// Appends the line from `a` to `b`, which belong to the list's graph. Null if they are the same point: there are
    /// no lines without length. Throws `std::length_error` if 65535 lines meet in one of the points already.
    M2dGraphLine* AddLine(M2dGraphPoint* a, M2dGraphPoint* b, bool flag);

    /// Whether the points know their lines. Can be changed while the list is empty.
    bool GetKeepsConnectivity() const { return m_keeps_connectivity; }
    void SetKeepsConnectivity(bool keeps);

   protected:
    /// Where lines come from and go to. A list that overrides these releases its lines before it dies.
    virtual Line* _CreateLine();
    virtual void _ReleaseLine(Line* line) noexcept;

   private:
    friend class M2dGraph;

    Line* _InsertBehind(Line* position, M2dGraphPoint* a, M2dGraphPoint* b);

    Line* m_first = nullptr;
    Line* m_last = nullptr;
    unsigned long m_count = 0;
    unsigned long m_next_index = 0;
    bool m_keeps_connectivity = false;
    MGraphStore<Line> m_store;
    std::vector<Line*> m_released;
  };

  M2dGraph() : M2dGraph(std::make_unique<MLineList>()) {}
  virtual ~M2dGraph();
  M2dGraph(M2dGraph const&) = delete;
  M2dGraph& operator=(M2dGraph const&) = delete;

  /// The point at a position, made when it is first asked for: the same position gives the same point.
  ///
  /// Throws `std::out_of_range` if a coordinate does not fit into 32 bits with sign.
  virtual M2dGraphPoint* GetPoint(long x, long y);

  /// Makes room for so many more points, which saves time, no more.
  void ReservePoints(std::size_t count);

  /// Throws `std::out_of_range` if a coordinate of the position does not fit into 32 bits with sign.
  static void CheckRange(long x, long y);

  MLineList& GetLines() { return *m_lines; }
  MLineList const& GetLines() const { return *m_lines; }

  /// Takes a line out of the graph and releases it; null does nothing.
  void RemoveLine(Line* line) noexcept;

  /// Lets `line` end at the first of `points` and puts the rest, from point to point to its old end, behind it. The
  /// new lines take over flags, info word and mask entries. Neighbours among the points, with the line's ends, differ.
  /// If it throws, nothing has changed.
  void SplitLine(Line* line, std::vector<M2dGraphPoint*> const& points);

 protected:
  /// For graphs with lines of their own kind.
  explicit M2dGraph(std::unique_ptr<MLineList> lines);

 private:
  /// A place in the table of points by position.
  struct Slot {
    std::int32_t x = 0;
    std::int32_t y = 0;
    M2dGraphPoint* point = nullptr;
  };

  Slot& _FindSlot(std::int32_t x, std::int32_t y);
  void _ResizeSlots(std::size_t size);

  MGraphStore<M2dGraphPoint> m_points;
  std::vector<Slot> m_slots;  ///< a power of two, at most two thirds in use
  std::unique_ptr<MLineList> m_lines;
};
