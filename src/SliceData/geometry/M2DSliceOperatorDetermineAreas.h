#pragma once

#include <SliceData/platform/boolean/M2dGraphLine.h>
#include <SliceData/platform/boolean/MDataMask.h>
#include <SliceData/platform/common/Export.h>

#include <memory>
#include <set>
#include <vector>

class M2DSliceContour;
class M2DSliceContourLayer;
class M2dBoolean;

/// Finds the connected areas that the contours of a layer enclose together, or those of one layer without another.
///
/// Inside is where the winding number is above 0: contours that run counter-clockwise enclose, those that run clockwise
/// cut out. Orient the contours first if their directions do not say so. Contours that are not closed have no part.
///
/// Each area lists the contours that bound it. An object is for one thread and one determination: a second one adds to
/// the areas and to the lines of the first. The layers outlive the object.
class VELSDK_EXPORT M2DSliceOperatorDetermineAreas {
 public:
  /// A contour with its layer, outer contours first in order. Of contours that are alike in this the address decides.
  struct VELSDK_EXPORT ContourBorderPair {
    M2DSliceContour const* contour;
    M2DSliceContourLayer const* layer;

    bool operator<(ContourBorderPair const& other) const;
  };

  /// The contours that bound an area, and the layers that they came from.
  struct Area {
    std::set<ContourBorderPair> contours;
    std::set<M2DSliceContourLayer const*> layers;
  };

  M2DSliceOperatorDetermineAreas();
  ~M2DSliceOperatorDetermineAreas();
  M2DSliceOperatorDetermineAreas(M2DSliceOperatorDetermineAreas const&) = delete;
  M2DSliceOperatorDetermineAreas& operator=(M2DSliceOperatorDetermineAreas const&) = delete;

  /// Appends the areas of a layer. Always true.
  ///
  /// What is left of the contours falls into parts that hang together by points. A part is one area, but for one with
  /// several outer contours: then each of these has an area of its own. A contour is listed in one area only.
  ///
  /// Takes time in the square of the outer contours that meet in one point, and n log n otherwise.
  ///
  /// Throws `std::out_of_range` if a coordinate does not fit into 32 bits with sign; the areas are as before then.
  /// Throws `std::length_error` if more than 65535 segments meet in one point; the object is of no more use then.
  bool DetermineAreas(M2DSliceContourLayer const* layer);

  /// Appends the areas of `first` without those of `second`: where the winding number of the first is greater. Both
  /// should be free of overlaps, with holes only inside of outer contours. A contour may be listed in several areas.
  /// Otherwise the same.
  bool DetermineAreasSubtraction(M2DSliceContourLayer const* first, M2DSliceContourLayer const* second);

  std::vector<Area> const& GetAreas() const { return m_areas; }

 private:
  void _AddBorderToBoolean(M2DSliceContourLayer const* layer, bool reversed, bool lineFlag, bool);
  void _FilterLines();
  void _DetermineAreas(bool subtraction);

  std::unique_ptr<M2dBoolean> m_boolean;
  std::unique_ptr<MDataMask<M2dGraphLine, M2DSliceContour const*>> m_line_contours;
  std::unique_ptr<MDataMask<M2dGraphLine, M2DSliceContourLayer const*>> m_line_layers;
  std::vector<Area> m_areas;
  M2DSliceContourLayer const* m_first_layer = nullptr;
  M2DSliceContourLayer const* m_second_layer = nullptr;  ///< what is subtracted; null if nothing is
};
