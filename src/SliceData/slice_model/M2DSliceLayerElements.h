#pragma once

#include <SliceData/slice_model/M2DSliceBaseInfo.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>

/// What differs from one kind of layer element to the next, by overload, for code that is told once for all of them.
namespace M2DSliceLayerElements {

inline unsigned long NumItems(M2DSliceContour const& contour) {
  return contour.GetNumPoints();
}
inline unsigned long NumItems(M2DSliceVectorBlock const& block) {
  return block.size();
}
inline unsigned long NumItems(M2DSlicePointBlock const& block) {
  return block.size();
}

inline unsigned long& NumItems(M2DSliceBaseInfoContour& info) {
  return info.numPoints;
}
inline unsigned long& NumItems(M2DSliceBaseInfoVectorBlock& info) {
  return info.numVectors;
}
inline unsigned long& NumItems(M2DSliceBaseInfoPointBlock& info) {
  return info.numPoints;
}
inline unsigned long NumItems(M2DSliceBaseInfoContour const& info) {
  return info.numPoints;
}
inline unsigned long NumItems(M2DSliceBaseInfoVectorBlock const& info) {
  return info.numVectors;
}
inline unsigned long NumItems(M2DSliceBaseInfoPointBlock const& info) {
  return info.numPoints;
}

inline void FillFlags(M2DSliceBaseInfoContour& info, M2DSliceContour const& contour) {
  info.closed = contour.GetIsClosed();
  info.outer = contour.GetIsOuter();
}
inline void FillFlags(M2DSliceBaseInfoVectorBlock&, M2DSliceVectorBlock const&) {}
inline void FillFlags(M2DSliceBaseInfoPointBlock&, M2DSlicePointBlock const&) {}

/// Creates an element and links it at the tail.
inline M2DSliceContour& AddElement(M2DSliceContourLayer& layer) {
  return layer.AddContour();
}
inline M2DSliceVectorBlock& AddElement(M2DSliceVectorLayer& layer) {
  return layer.AddVectorBlock();
}
inline M2DSlicePointBlock& AddElement(M2DSlicePointLayer& layer) {
  return layer.AddPointBlock();
}

/// Everything that is known of an element without its coordinates, but for its extent.
template <class BaseInfoElement, class Element>
void FillFacts(BaseInfoElement& info, Element const& element) {
  FillFlags(info, element);
  NumItems(info) = NumItems(element);
  info.typeInfo = element.GetVectorTypeInfo();
}

}  // namespace M2DSliceLayerElements
