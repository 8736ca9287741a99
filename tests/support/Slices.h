#pragma once

#include <SliceData/slice_model/M2DSlice.h>

#include <gmock/gmock.h>
#include <initializer_list>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// Short ways to build and read slices in tests.
namespace testing_support {

using XY = std::pair<long, long>;

inline M2DSliceContour& AddContour(M2DSliceContourLayer& layer, std::initializer_list<XY> points, bool closed = true) {
  M2DSliceContour& contour = layer.AddContour();
  contour.SetIsClosed(closed);
  for (auto const& [x, y] : points) contour.AddPoint(x, y);
  return contour;
}

inline M2DSliceVectorBlock& AddVectors(M2DSliceVectorLayer& layer, std::initializer_list<M2DSliceVector> vectors) {
  M2DSliceVectorBlock& block = layer.AddVectorBlock();
  block.assign(vectors);
  return block;
}

inline M2DSlicePointBlock& AddPoints(M2DSlicePointLayer& layer, std::initializer_list<XY> points) {
  M2DSlicePointBlock& block = layer.AddPointBlock();
  for (auto const& [x, y] : points) block.push_back({x, y});
  return block;
}

inline std::vector<XY> PointsOf(M2DSliceContour const& contour) {
  std::vector<XY> points;
  for (M2DSliceContourPoint const& point : contour.GetPoints()) points.emplace_back(point.x, point.y);
  return points;
}

inline std::vector<XY> PointsOf(M2DSlicePointBlock const& block) {
  std::vector<XY> points;
  for (M2DSlicePoint const& point : block) points.emplace_back(point.x, point.y);
  return points;
}

/// The record with every entry, set to its default or not.
inline std::string TextOf(M2DSliceVectorTypeInfo const& info) {
  std::ostringstream text;
  text << info.GetTypeName();
  for (auto const& [key, value] : info.GetIndices()) text << ' ' << key->name << '=' << value;
  for (auto const& [key, value] : info.GetFlags()) text << ' ' << key->name << '=' << value;
  for (auto const& [key, value] : info.GetNumbers()) text << ' ' << *key << '=' << value;
  return text.str();
}

/// One element in each of the four components, at places that tell them apart: border at x 0, vectors at 100, points at
/// 200, areas at 300, each shifted by `shift`.
inline void FillAllComponents(M2DSlice& slice, long shift = 0) {
  AddContour(*slice.GetBorderUpdate(), {{shift, 0}, {shift + 10, 0}, {shift + 10, 10}});
  AddVectors(*slice.GetVectorsUpdate(), {{shift + 100, shift + 110, 0, 10}});
  AddPoints(*slice.GetPointsUpdate(), {{shift + 200, 0}, {shift + 210, 10}});
  AddContour(*slice.GetAreasUpdate(), {{shift + 300, 0}, {shift + 310, 0}, {shift + 310, 10}});
}

/// Elements in each component: border, vectors, points, areas.
inline std::vector<unsigned long> Counts(M2DSlice const& slice) {
  return {slice.GetBorder().GetCount(), slice.GetVectors().GetCount(), slice.GetPoints().GetCount(),
          slice.GetAreas().GetCount()};
}

/// The smallest x of each component in the order of `Counts`, to tell whose geometry it is.
inline std::vector<long> Starts(M2DSlice const& slice) {
  return {slice.GetBorder().GetFirst()->GetFirstPoint()->x, slice.GetVectors().GetFirst()->front().x1,
          (*slice.GetPoints().GetFirst())[0].x, slice.GetAreas().GetFirst()->GetFirstPoint()->x};
}

}  // namespace testing_support
