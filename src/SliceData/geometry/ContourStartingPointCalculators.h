#pragma once

#include <SliceData/geometry/IContourStartingPointCalculator.h>
#include <SliceData/geometry/StartPointData.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>

/// The strategies for starting points. Lengths are in internal units. Unless told otherwise a strategy looks at the
/// ring of points alone, whether the contour is closed or open. One object serves one thread at a time.
namespace M2DSliceUtilities {

/// The point where the contour turns the most; the first of equals. Points that coincide with a neighbour do not count,
/// nor do turns that are not to the left and whose cosine comes out as exactly -1. Without any turn it is the first
/// point.
class VELSDK_EXPORT ContourStartingPointCalculatorSharpestAngle : public IContourStartingPointCalculator {
 public:
  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;
};

/// Evenly spaced points in turn: with n points, the one (`index` mod `repeatCount`) * (n / `repeatCount`) steps after
/// the first, in integers. With more repeats than points it is always the first.
class VELSDK_EXPORT ContourStartingPointCalculatorRepeatAfter : public IContourStartingPointCalculator {
 public:
  /// \param index        which of the turns, such as the number of the layer
  /// \param repeatCount  after how many turns the first comes again; 0 becomes 1 at the first use. A negative one is
  ///                     taken as its unsigned value and gives the first point.
  ContourStartingPointCalculatorRepeatAfter(unsigned long index, long repeatCount);

  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

  long GetRepeatCount() const { return m_repeat_count; }
  /// The number of steps, cut to 32 bits; the first point serves for all below 1.
  std::int32_t _GetOffset(unsigned long num_points);

 private:
  unsigned long m_index;
  long m_repeat_count;
};

/// Points that wander along the contour from turn to turn and from group to group of `repeatCount` turns.
///
/// Group g = `index` / `repeatCount` begins at the point `repeatCount` + g steps after the first. From there the walk
/// goes (`index` mod `repeatCount` + `IndexBorder` of the contour) * `stepLength` along the ring, each hop truncated to
/// an integer, to the point that reaches this length. Even turns walk forward. Odd turns walk backward, but their first
/// hop goes forward, so that they pass the first segment twice; installed processes depend on it.
class VELSDK_EXPORT ContourStartingPointCalculatorMetal : public IContourStartingPointCalculator {
 public:
  /// \param index        which of the turns, such as the number of the layer
  /// \param repeatCount  0 becomes 1 at the first use; with a negative one all groups begin at the first point
  /// \param stepLength   in internal units; if the length to walk is below 1, the result is where the group begins
  ContourStartingPointCalculatorMetal(unsigned long index, long repeatCount, long stepLength);

  /// Where there is a length to walk, two neighbouring points of the contour must lie at least 1 apart: the walk has no
  /// end otherwise, and the result is where the group begins. Takes time in proportion to the points, however long the
  /// walk is.
  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

  long GetRepeatCount() const { return m_repeat_count; }

 private:
  /// Steps from the first point to where the group begins.
  unsigned long _GetStartOffset() const;
  long _GetDistance(M2DSliceContour const& contour) const;

  unsigned long m_index;
  long m_repeat_count;
  long m_step_length;
};

/// A random point, always the same for the same contour, layer and index. With `data` up to ten are tried until one is
/// valid; the last one is recorded in any case. An open contour keeps its first point and records nothing.
class VELSDK_EXPORT ContourStartingPointCalculatorRandom : public IContourStartingPointCalculator {
 public:
  /// \param index  such as the number of the layer; another one gives other points
  /// \param z      third coordinate of the points that are tested and recorded. With the smallest `long` the first
  ///               point drawn is recorded without a test.
  /// \param data   may be null
  ContourStartingPointCalculatorRandom(unsigned long index, long z, std::shared_ptr<IStartPointData> data);
  ~ContourStartingPointCalculatorRandom() override;

  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

 private:
  unsigned long m_index;
  long m_z;
  std::shared_ptr<IStartPointData> m_data;
};

/// As `ContourStartingPointCalculatorRandom`, for open contours too; but if all ten points are too close to recorded
/// ones, the one with the largest sum of distances from these is taken, or the first point of the contour if all sums
/// are 0.
class VELSDK_EXPORT ContourStartingPointCalculatorRandomMinDistance : public IContourStartingPointCalculator {
 public:
  /// \param index  such as the number of the layer; another one gives other points
  /// \param z      third coordinate of the points that are tested and recorded
  /// \param data   may be null; what is no `StartPointDataPerSlice` counts as null. Nobody else may use it during a
  ///               calculation: its points are read without its lock.
  ContourStartingPointCalculatorRandomMinDistance(unsigned long index, long z, boost::shared_ptr<IStartPointData> data);
  ~ContourStartingPointCalculatorRandomMinDistance() override;

  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

 private:
  unsigned long m_index;
  long m_z;
  boost::shared_ptr<IStartPointData> m_data;
};

/// The point closest to a reference; the first of equals.
class VELSDK_EXPORT ContourStartingPointCalculatorClosestNeighbor : public IContourStartingPointCalculator {
 public:
  /// \param reference  must outlive the calculator. With null the result is the contour's first point.
  explicit ContourStartingPointCalculatorClosestNeighbor(M2DSliceContourPoint const* reference);

  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

 private:
  M2DSliceContourPoint const* m_reference;
};

/// The point a number of steps after the first, in the direction of `NextPointFunctorClock`. A step to a point at the
/// same place does not count.
class VELSDK_EXPORT ContourStartingPointCalculatorClockwise : public IContourStartingPointCalculator {
 public:
  ContourStartingPointCalculatorClockwise(unsigned long steps, bool clockwise);

  /// With `steps` above 0 two points of the contour must lie at different places: the walk has no end otherwise, and
  /// the result is the first point. Takes time in proportion to the points, however many the steps are.
  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

 private:
  unsigned long m_steps;
  bool m_clockwise;
};

/// The point that lies farthest against a direction: with angle 0 the lowest y, and where two differ in it by less than
/// 10, the larger x. With `data` it is the first valid point in this order, or else the first of all; it is recorded.
class VELSDK_EXPORT ContourStartingPointCalculatorSpecific : public IContourStartingPointCalculator {
 public:
  /// \param id     for the host's use; takes no part in the choice
  /// \param angle  in degrees; turns the preferred side counter-clockwise
  /// \param z      third coordinate of the points that are tested and recorded
  /// \param data   may be null
  ContourStartingPointCalculatorSpecific(long id, double angle, long z, std::shared_ptr<IStartPointData> data);
  ~ContourStartingPointCalculatorSpecific() override;

  M2DSliceContourPoint const* FindOptimalStartingPoint(M2DSliceContour const& contour) override;

  long GetId() const { return m_id; }

 private:
  long m_id;
  double m_angle;
  long m_z;
  std::shared_ptr<IStartPointData> m_data;
  double m_tolerance = 10;
};

}  // namespace M2DSliceUtilities
