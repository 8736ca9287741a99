#pragma once

#include <SliceData/slice_model/M2DSliceComponentUpdate.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSliceLayerComponent.h>

struct VELSDK_EXPORT M2DSliceContoursTraits {
  using Layer = M2DSliceContourLayer;
  using Element = M2DSliceContour;
  using BaseInfoElement = M2DSliceBaseInfoContour;
  using BaseInfo = M2DSliceBaseInfoBorder;
};

extern template class VELSDK_EXPORT M2DSliceLayerComponent<M2DSliceContoursTraits>;

/// The border contours or the area contours of a slice.
class VELSDK_EXPORT M2DSliceComponentContours final : public M2DSliceLayerComponent<M2DSliceContoursTraits> {
 public:
  using ContourOnDisk = ElementOnDisk;

  /// `kind`: 0 for the border of the slice, 1 for its areas.
  M2DSliceComponentContours(M2DSlice* slice, int kind);

  unsigned long GetNumContours() const { return GetNumElements(); }
  unsigned long GetNumPoints(unsigned long contour) const { return GetNumItems(contour); }

  /// Reads a point through a cursor: from point 0 of a contour upward, one after the other. Nobody else may use a temp
  /// file between two calls. The walk goes round a contour in memory, and on disk from one contour into the next.
  void GetContourPoint(unsigned long contour, unsigned long point, long& x, long& y) const;

  /// True if every contour is closed; without contours too.
  bool GetIsClosed() const;
  bool GetIsClosed(unsigned long contour) const;
  bool GetIsOuter(unsigned long contour) const;
  /// Set a flag in every valid copy; a record on disk stays valid, since it holds no flags.
  void SetIsClosed(unsigned long contour, bool closed);
  void SetIsOuter(unsigned long contour, bool outer);

  /// Lets the strategy prepare the component to be filled on disk; false if it does not, or the slice is in no stack.
  bool PrepareForPushingData();
  /// Begin a contour, whose index is returned, and give it a point. Only after `InitForOnDiskCaching`. Flags and type
  /// record start with their defaults.
  unsigned long PushContour();
  void PushContourPoint(long x, long y);

 private:
  int m_kind;
  mutable M2DSliceContourPoint const* m_last_point = nullptr;  ///< the cursor in memory
};

/// Write access to the contours of a slice.
class M2DSliceComponentContoursUpdate : public M2DSliceComponentUpdate<M2DSliceContourLayer> {
 public:
  explicit M2DSliceComponentContoursUpdate(M2DSliceComponentContours& component) : M2DSliceComponentUpdate(component) {
    component._InvalidateCachedData();
  }
};
