#pragma once

#include <SliceData/platform/boolean/PlanarSegment.h>
#include <SliceData/platform/boolean/PlanarSweep.h>

#include <cstddef>
#include <cstdint>
#include <vector>

/// Splits directed lines on the integer grid until they have nothing but ends in common or coincide, and tells the
/// winding numbers beside the pieces.
///
/// Lines are split where a sweep finds that they meet; the meeting points are rounded to the grid, and the pieces are
/// swept again until no sweep finds anything. That comes to an end: a point that splits a piece lies in the piece's box
/// and is neither of its ends, so the pieces of a line form a chain that is monotone in x and in y over different grid
/// points, and such a chain has at most as many pieces as the line's box is wide and high. Two pieces that cross cannot
/// share the rounded point as an end, so every sweep that finds something also splits something. Where lines do
/// not meet the first sweep finds nothing; otherwise it takes from two to some six. Few splits are settled among their
/// neighbours before all is swept again.
///
/// A piece lies within half a unit in x and y of the line for each sweep but the last.
class PlanarSubdivision {
 public:
  /// One piece of a line, in the line's direction.
  struct Piece {
    PlanarPoint end;        ///< where it ends; it begins where the one before ended
    std::uint32_t segment;  ///< the same for all pieces between the same two points
    bool forward;           ///< whether it runs from the low to the high end
  };

  /// Adds a line between two different points. One that does not enclose is split as all others are, and splits them,
  /// but has no influence on winding numbers. Throws `std::length_error` beyond 2^31 - 1 lines.
  void AddLine(PlanarPoint from, PlanarPoint to, bool encloses);
  void Reserve(std::size_t count) { m_input.reserve(count); }

  /// Splits and computes winding numbers; after that no line is added.
  void Build() { _Build(true); }

  /// Replaces `pieces` by those of a line, numbered as added, from its beginning to its end.
  void GetPieces(std::uint32_t line, std::vector<Piece>& pieces) const;

  std::size_t GetNumSegments() const { return m_segments.size(); }
  /// The winding number on the lower side of a segment.
  std::int32_t GetWinding(std::uint32_t segment) const { return m_windings[segment]; }
  /// How many lines run along a segment from low to high more than back.
  std::int32_t GetChange(std::uint32_t segment) const { return m_segments[segment].change; }

 private:
  /// A segment as part of what it was before a step, with a bit for its direction.
  struct Part {
    std::uint32_t segment : 31;
    std::uint32_t backward : 1;
  };
  /// One step: those that were, and the segments they are now. An empty `first` stands for one part each.
  struct Step {
    std::vector<std::uint32_t> first;
    std::vector<Part> parts;
  };

  void _Build(bool settle);
  void _Unite(std::vector<PlanarSegment>&& parts, Step& step);
  void _Settle(std::vector<PlanarSweep::Split>& splits) const;
  void _Apply(std::vector<PlanarSweep::Split> const& splits);
  void _Collect(std::size_t step, Part part, std::vector<Piece>& pieces) const;

  std::vector<PlanarSegment> m_input;
  std::vector<PlanarSegment> m_segments;
  std::vector<Step> m_steps;
  std::vector<std::int32_t> m_windings;
};
