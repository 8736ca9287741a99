#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstdint>
#include <vector>

class M2DSliceContour;
class M2DSliceContourLayer;
class M2DSliceVectorBlock;

/// Contours that together bound an area of a slice, by the even-odd rule: what lies within a hole is outside.
///
/// The region does not own its contours. They must outlive it, and stay as they are once their extremes were taken. The
/// extremes are taken in the first const operation that needs them, without a lock; after `_ValidateExtremes` several
/// threads may ask at once.
class VELSDK_EXPORT M2DSliceRegion {
 public:
  enum RegionPosition : std::uint32_t {
    RegionPositionOnBorder = 0,
    RegionPositionInside = 1,
    RegionPositionOutside = 2,
  };

  M2DSliceRegion();
  /// A region of one contour, or of all contours of a layer in their order, each as by `AddContour`.
  explicit M2DSliceRegion(M2DSliceContour const* contour);
  explicit M2DSliceRegion(M2DSliceContourLayer const* layer);
  /// Takes over `contours` as they are. Unlike `AddContour` this leaves `outerContours` empty, whatever the flags say.
  explicit M2DSliceRegion(std::vector<M2DSliceContour const*>& contours);

  /// Adds a contour, to the outer ones as well if its flag says so.
  void AddContour(M2DSliceContour const* contour);

  std::vector<M2DSliceContour const*> const& GetContoursConst() const { return contours; }

  /// Where (x, y), in internal units, lies. Open contours count as rings.
  ///
  /// Which ends of an edge are above or below the point, and whether a corner is the point, is decided exactly. Where
  /// an edge passes the height of the point is computed in doubles: exact for a point of whole coordinates if these and
  /// those of the contours lie in a square of side 2^26 (6.7 m) within ±2^26; farther apart, a point very near to an
  /// edge or on it may be taken for one beside it, and the reverse. NaN and infinite coordinates lie outside.
  RegionPosition GetPosition(double x, double y) const;

  /// The position of the first point of `other` that does not lie on the border of this region; on the border if there
  /// is none, also if `other` has no points.
  RegionPosition GetPosition(M2DSliceRegion const& other) const;

  /// The same for the starts of the vectors. Their ends are not looked at.
  RegionPosition GetPosition(M2DSliceVectorBlock const* block) const;

  /// Takes the extremes if they are not known and the region has contours. Linear in the points.
  void _ValidateExtremes() const;

  std::vector<M2DSliceContour const*> outerContours;
  std::vector<M2DSliceContour const*> contours;

  // The extremes of all points; not known while `minX` is the largest `long`. Without points they remain the largest
  // for the minima and the smallest for the maxima, and everything lies outside.
  mutable long minX;
  mutable long maxX;
  mutable long minY;
  mutable long maxY;

 private:
  void _ResetExtremes() const;
};
