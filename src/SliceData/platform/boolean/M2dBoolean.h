#pragma once

#include <SliceData/platform/boolean/M2dGraph.h>
#include <SliceData/platform/common/Export.h>

/// The planar engine: classifies the lines of contours by the area that they enclose together.
///
/// Lines are added to the line list between points that `GetPoint` gives, contour by contour, with a call of `AddShell`
/// behind each. `SplitAndClassify` then splits and counts them. Everything is integer: lines are split at grid points.
///
/// The winding number of a place is the number of times that the closed contours go around it counter-clockwise less
/// the number of times that they do so clockwise. Where it is above 0 is inside.
class VELSDK_EXPORT M2dBoolean : public M2dGraph {
 public:
  M2dBoolean() = default;

  /// The mode: whether points know the lines that meet there, as who walks over the result needs it. Set before the
  /// first line is added. Off in a new engine.
  void SetConnectLines(bool connect) { GetLines().SetKeepsConnectivity(connect); }
  bool GetConnectLines() const { return GetLines().GetKeepsConnectivity(); }

  /// Tells that the lines added since the last `AddShell` are an open path: it encloses nothing even if it ends where
  /// it begins.
  void DeclareOpen() { m_contour_is_open = true; }

  /// Tells that the lines added since the last call are one contour, whose smallest and largest y are given.
  ///
  /// A contour whose lines leave every point as often as they reach it encloses an area, unless it was declared open.
  /// Others enclose nothing. A contour without lines is allowed.
  void AddShell(long min_y, long max_y);

  /// Splits lines where they meet and writes the classification count of each.
  ///
  /// Afterwards two lines have at most ends in common or coincide. Where they crossed between grid points they meet at
  /// the nearest one, so lines move by up to about a unit. Parts take over flag, info word and mask entries.
  ///
  /// The count of a line is the winding number on its right-hand side, held to the range of 16 bits: 0 for a boundary
  /// of the inside that has it on its left. Lines that coincide are counted as if they lay side by side, in the order
  /// of the list, each with its own side. Two opposite ones that coincide cancel, and what is left over of such a
  /// bundle are its first lines. Those that cancel, and lines of contours that do not close, get -1.
  ///
  /// Lines added since the last `AddShell` are taken as a contour. Can be called again after more lines were added.
  /// Takes O((n + k) log n) for n lines with k crossings. Throws `std::length_error` if more than 65535 lines come to
  /// meet in one point, `std::bad_alloc` without memory; the lines may be split in part then, without counts.
  void SplitAndClassify();

 private:
  void _EndContour();

  bool m_contour_is_open = false;
  unsigned long m_contour_begin = 0;  ///< index of the first line that no shell knows
};
