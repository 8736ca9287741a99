#pragma once

#include <SliceData/platform/containers/M3dBorderContourBase.h>

/// A contour of the general border: points and flags, with no type record.
template <class Coordinate, class Info, class Point>
class M3dBorderContour
    : public M3dBorderContourBase<Coordinate, Info, Point, M3dBorderContour<Coordinate, Info, Point>> {
 public:
  using M3dBorderContourBase<Coordinate, Info, Point, M3dBorderContour>::M3dBorderContourBase;
};
