#pragma once

#include <SliceData/platform/containers/MIntrusiveList.h>

#include <memory>

/// A border: a list of contours.
template <class Coordinate, class Info, class Contour>
class M3dBorder : public MIntrusiveList<Contour> {
 public:
  M3dBorder() = default;
  virtual ~M3dBorder() = default;

  /// A contour for this border, not yet linked into it. Here: one with a pool of its own.
  virtual std::unique_ptr<Contour> _CreateNewContour() { return std::make_unique<Contour>(nullptr); }
};
