#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/M3dBorder.h>
#include <SliceData/platform/math/MMPoint2d.h>

#include <cstddef>
#include <vector>

namespace AU {

/// A closed ring of points; the last one is followed by the first.
using Ring = std::vector<MMPoint2d<long>>;

/// How a ring lies among others.
struct RingNesting {
  long depth = 0;     ///< the number of rings that it lies in
  int direction = 0;  ///< 1 counter-clockwise, -1 clockwise, 0 without area
};

/// How each of the rings lies among the others.
///
/// The direction is that of the enclosed area; that of the larger lobes where a ring crosses itself. A ring without
/// area (of fewer than three places, all on one line, or with lobes that cancel) lies in none and contains none. For
/// the others a place decides: just inside the ring at its leftmost corner (the lowest of these), above the lowest of
/// its edges there. The depth is the sum of the turns that the other rings, each taken counter-clockwise, make around
/// that place. For rings that do not cross, this is how many contain the ring, also where they touch:
/// - Of rings that share edges, the one with the larger area may contain the other, not the reverse.
/// - Of rings that coincide, each contains those that come later.
///
/// A sweep along x, in exact arithmetic. n log n in the number of points; but where rings cross, the edges in question
/// are looked at one by one for each ring that begins beside them. Throws `std::out_of_range` if a coordinate is not
/// within ±2^46, `std::length_error` beyond 2^32 points.
VELSDK_EXPORT std::vector<RingNesting> NestRings(std::vector<Ring> const& rings);

/// Gives each closed contour the direction and outer flag of its place, as told by `NestRings`: at even depth it is
/// counter-clockwise and outer, at odd depth clockwise and not outer. So the area to fill lies on the left everywhere.
///
/// A contour that is turned keeps its first point. Open contours and those without area stay as they are and do not
/// count. If it throws, the border is as it was. The second argument has no use.
template <class Coordinate, class Info, class Contour>
void OrientBorder2D(M3dBorder<Coordinate, Info, Contour>& border, std::nullptr_t) {
  std::vector<Contour*> contours;
  std::vector<Ring> rings;
  for (Contour& contour : border) {
    if (!contour.GetIsClosed()) continue;
    contours.push_back(&contour);
    Ring& ring = rings.emplace_back();
    ring.reserve(contour.GetNumPoints());
    for (auto const& point : contour.GetPoints()) ring.push_back({point.x, point.y});
  }

  std::vector<RingNesting> const nestings = NestRings(rings);
  for (std::size_t i = 0; i < contours.size(); ++i) {
    if (nestings[i].direction == 0) continue;
    bool const is_outer = nestings[i].depth % 2 == 0;
    contours[i]->SetIsOuter(is_outer);
    if (is_outer != (nestings[i].direction > 0)) contours[i]->ReverseDirection();
  }
}

}  // namespace AU
