#pragma once

#include <SliceData/geometry/M2DSliceRegion.h>
#include <SliceData/platform/common/Export.h>

#include <vector>

/// The regions of a slice. Whoever builds the collection puts them into `regions`.
class VELSDK_EXPORT M2DSliceRegions {
 public:
  /// Appends a region without contours, for whatever suits no other.
  void AddDummyRegion();

  /// The index of the region that suits: of those that do not have the point outside, a nested one where there is one;
  /// `dummyRegionIndex` where there are none. Whether a region is nested in another, one of its points decides, the
  /// first that is not on the other's border. `x` and `y` in internal units are taken as doubles.
  unsigned long GetSuitedRegion(long x, long y) const;

  /// The same for all that is drawn with a block or a contour. It is decided by the first start of a vector, or point
  /// of the contour, that is not on the border; where there is none, every region will do.
  unsigned long GetSuitedRegion(M2DSliceVectorBlock const* block) const;
  unsigned long GetSuitedRegion(M2DSliceContour const* contour) const;

  /// Puts the regions into columns of `gridSize` (internal units, not 0) by their `minX`, from left to right, and those
  /// of a column into rows by their `minY`; the old order where both are equal. The quotients are cut towards zero, so
  /// that -900 and 900 share the column of 0 with a grid of 1000. Regions without points come last.
  ///
  /// `dummyRegionIndex` stays as it is: it is right afterwards if the dummy was last and is the only one without
  /// points. With `gridSize` 0, which a debug build refuses, nothing is moved.
  void Sort(long gridSize);

  std::vector<M2DSliceRegion> regions;
  unsigned long dummyRegionIndex = ~0ul;  ///< all ones until `AddDummyRegion`

 private:
  template <class... Probe>
  unsigned long _GetSuitedRegion(Probe const&... probe) const;
};
