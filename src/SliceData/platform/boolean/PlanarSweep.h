#pragma once

#include <SliceData/platform/boolean/PlanarSegment.h>

#include <cstdint>
#include <queue>
#include <set>
#include <utility>
#include <vector>

/// Finds where segments meet other than at common ends, and, if they do not, their winding numbers.
///
/// The method is the plane sweep of Bentley and Ottmann ("Algorithms for reporting and counting geometric
/// intersections", 1979) with integer events only. The status holds the segments that cross the sweep line, from the
/// lowest to the highest, in their order at whole x: by y, then by slope. Two segments that cross between two whole x
/// change places at the greater of them, so that no event has to be compared as a fraction. Neighbours alone are
/// tested, with exact predicates:
///
/// - Two segments that have changed places, or touch, were neighbours before; so every meeting of two segments that go
///   on to the right is found. What goes through the point where one begins is in its place in the status.
/// - So a sweep that reports no split proves that segments have nothing but ends in common.
///
/// A rounded meeting splits every segment that runs through its unit of the grid as well (snap rounding, Hobby 1999),
/// so that segments near it do not change sides; ends of segments do so with segments that are split anyway. Only the
/// neighbours in the status are looked at, so that steep ones may be missed: a further sweep finds what that leaves.
///
/// Vertical segments are not in the status: they are compared with the status and the ends on their x.
///
/// Time is O((n + k) log n) for n segments with k crossings, memory O(n + k). Which way long segments run, how many of
/// them lie side by side or come from one point, makes no difference.
class PlanarSweep {
 public:
  /// A place at which a segment has to be split: a grid point in its box that is neither of its ends, at most half a
  /// unit in x and in y from a point of the segment.
  struct Split {
    std::uint32_t segment;
    PlanarPoint point;
  };

  /// The segments are in their order, without duplicates, fewer than 2^32 - 1, and outlive the sweep.
  explicit PlanarSweep(std::vector<PlanarSegment> const& segments);

  void Run();

  /// In no particular order, some more than once.
  std::vector<Split> const& GetSplits() const { return m_splits; }
  std::vector<Split> TakeSplits();
  /// The winding number on the lower side of each segment; valid if there are no splits.
  std::vector<std::int32_t> TakeWindings() { return std::move(m_windings); }

 private:
  /// A segment in the status. Neighbours that cross exchange their indices.
  struct Entry {
    mutable std::uint32_t segment;
  };
  struct Below {
    using is_transparent = void;
    PlanarSegment const* segments;
    bool operator()(Entry a, Entry b) const;
    bool operator()(Entry a, PlanarPoint point) const { return PlanarSide(segments[a.segment], point) > 0; }
    bool operator()(PlanarPoint point, Entry b) const { return PlanarSide(segments[b.segment], point) < 0; }
  };
  using Status = std::set<Entry, Below>;
  using Place = Status::iterator;

  /// The lower of two neighbours crosses the upper one in the column left of `x`, or at `x`.
  struct Swap {
    std::int32_t x;
    std::uint32_t lower;
    std::uint32_t upper;
    PlanarPoint meeting;
    bool operator<(Swap const& other) const { return x > other.x; }
  };

  /// The segments that end at the event point, or those that begin there.
  struct Range {
    std::uint32_t begin;
    std::uint32_t end;
  };

  void _SwapUpTo(std::int32_t x);
  void _HandlePoint(PlanarPoint point, Range ends, Range starts);
  bool _Replace(PlanarPoint point, Range ending, Range starting, Place& above);
  void _RemoveAndInsert(PlanarPoint point, Range ending, Range starting);
  void _Snap(PlanarPoint point, Place below, Place above, std::vector<Split>& splits) const;
  void _SortPassing(PlanarPoint point, Place first, Place last);
  void _BeginVerticals(PlanarPoint point, Range starts, Place above);
  void _Check(Place lower, Place upper);
  void _AddCrossing(std::uint32_t lower, std::uint32_t upper);
  void _AddSplit(std::uint32_t segment, PlanarPoint point);
  std::int32_t _WindingBelow(Place place) const;

  std::vector<PlanarSegment> const& m_segments;
  std::vector<std::uint32_t> m_by_end;  ///< the segments by their high ends
  Status m_status;
  std::vector<Place> m_places;             ///< of each segment; the end of the status while it is not there
  std::vector<std::uint32_t> m_verticals;  ///< those that cover the event point with their inside or begin there
  std::priority_queue<Swap> m_swaps;
  std::vector<Split> m_splits;
  std::vector<Split> m_snaps;  ///< where segments pass an end within half a unit
  std::vector<std::int32_t> m_windings;
};
