#include <SliceData/geometry/NextPointFunctors.h>
#include <SliceData/slice_model/M2DSliceContour.h>

namespace M2DSliceUtilities {

using Point = M2DSliceContourPoint;

INextPointFunctor::~INextPointFunctor() = default;

void NextPointFunctor::OnNewContour(M2DSliceContour const*) {}

Point const* NextPointFunctor::CorrectStartPointOpenContour(Point const* point, bool) const {
  return point;
}

Point const* NextPointFunctor::GetNextPoint(Point const* point) const {
  return point->next;
}

NextPointFunctorClock::NextPointFunctorClock(bool clockwise) : m_clockwise(clockwise) {
  _UpdateCallback(true);
}

NextPointFunctorClock::~NextPointFunctorClock() = default;

void NextPointFunctorClock::OnNewContour(M2DSliceContour const* contour) {
  _UpdateCallback(contour->GetIsOuter());
}

Point const* NextPointFunctorClock::CorrectStartPointOpenContour(Point const* point, bool outer) const {
  return m_clockwise == outer ? point : point->previous;
}

Point const* NextPointFunctorClock::GetNextPoint(Point const* point) const {
  return m_step(point);
}

void NextPointFunctorClock::_UpdateCallback(bool outer) {
  if (m_clockwise == outer) {
    m_step = [](Point const* point) { return point->next; };
  } else {
    m_step = [](Point const* point) { return point->previous; };
  }
}

}  // namespace M2DSliceUtilities
