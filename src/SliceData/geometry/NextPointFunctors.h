#pragma once

#include <SliceData/geometry/INextPointFunctor.h>

#include <functional>

namespace M2DSliceUtilities {

/// Walks in stored order.
class VELSDK_EXPORT NextPointFunctor : public INextPointFunctor {
 public:
  void OnNewContour(M2DSliceContour const* contour) override;
  M2DSliceContourPoint const* CorrectStartPointOpenContour(M2DSliceContourPoint const* point,
                                                           bool outer) const override;
  M2DSliceContourPoint const* GetNextPoint(M2DSliceContourPoint const* point) const override;
};

/// Walks outer contours one way and inner ones the other: clockwise is the stored order of outer contours.
class VELSDK_EXPORT NextPointFunctorClock : public INextPointFunctor {
 public:
  /// Until the first contour comes, clockwise is the stored order.
  explicit NextPointFunctorClock(bool clockwise);
  ~NextPointFunctorClock() override;

  /// Takes the direction for the contour's outer flag.
  void OnNewContour(M2DSliceContour const* contour) override;
  /// The point itself if this walk follows the stored order for this flag, otherwise the one before it.
  M2DSliceContourPoint const* CorrectStartPointOpenContour(M2DSliceContourPoint const* point,
                                                           bool outer) const override;
  M2DSliceContourPoint const* GetNextPoint(M2DSliceContourPoint const* point) const override;

  void _UpdateCallback(bool outer);

 private:
  bool m_clockwise;
  std::function<M2DSliceContourPoint const*(M2DSliceContourPoint const*)> m_step;
};

}  // namespace M2DSliceUtilities
