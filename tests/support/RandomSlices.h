#pragma once

#include <SliceData/slice_model/M2DSlice.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/Slices.h"

/// Layers of random elements for tests of properties, and a text of an element by which two layers are compared.
namespace testing_support {

using Random = std::mt19937;

inline long Draw(Random& random, long first, long last) {
  return std::uniform_int_distribution<long>(first, last)(random);
}

/// A type with few indices and flags from small ranges, so that equal records come up.
inline M2DSliceVectorTypeInfo RandomTypeInfo(Random& random) {
  M2DSliceVectorTypeInfo info(static_cast<e2DSliceVectorType>(Draw(random, 0, 11)));
  for (int i = 0; i < 2; ++i) {
    if (Draw(random, 0, 1))
      info.SetIndex(static_cast<e2DSliceVectorTypeIndex>(Draw(random, 0, 12)), Draw(random, 0, 3));
    if (Draw(random, 0, 1))
      info.SetFlag(static_cast<e2DSliceVectorTypeFlag>(Draw(random, 0, 9)), Draw(random, 0, 3) > 0);
  }
  return info;
}

inline M2DSliceContour& AddRandomElement(M2DSliceContourLayer& layer, Random& random) {
  M2DSliceContour& contour = layer.AddContour();
  contour.SetVectorTypeInfo(RandomTypeInfo(random));
  contour.SetIsClosed(Draw(random, 0, 3) > 0);
  contour.SetIsOuter(Draw(random, 0, 3) > 0);
  for (long remaining = Draw(random, 0, 6); remaining > 0; --remaining) {
    contour.AddPoint(Draw(random, -50, 50), Draw(random, -50, 50));
  }
  return contour;
}

inline M2DSliceVectorBlock& AddRandomElement(M2DSliceVectorLayer& layer, Random& random) {
  M2DSliceVectorBlock& block = layer.AddVectorBlock();
  block.SetVectorTypeInfo(RandomTypeInfo(random));
  for (long remaining = Draw(random, 0, 6); remaining > 0; --remaining) {
    block.push_back({Draw(random, -50, 50), Draw(random, -50, 50), Draw(random, -50, 50), Draw(random, -50, 50)});
  }
  return block;
}

inline M2DSlicePointBlock& AddRandomElement(M2DSlicePointLayer& layer, Random& random) {
  M2DSlicePointBlock& block = layer.AddPointBlock();
  block.SetVectorTypeInfo(RandomTypeInfo(random));
  for (long remaining = Draw(random, 0, 6); remaining > 0; --remaining) {
    block.push_back({Draw(random, -50, 50), Draw(random, -50, 50)});
  }
  return block;
}

template <class Layer>
void FillRandomly(Layer& layer, Random& random, long count) {
  for (; count > 0; --count) AddRandomElement(layer, random);
}

inline void FillRandomly(M2DSlice& slice, Random& random, long most) {
  FillRandomly(*slice.GetBorderUpdate(), random, Draw(random, 0, most));
  FillRandomly(*slice.GetVectorsUpdate(), random, Draw(random, 0, most));
  FillRandomly(*slice.GetPointsUpdate(), random, Draw(random, 0, most));
  FillRandomly(*slice.GetAreasUpdate(), random, Draw(random, 0, most));
}

inline std::string GeometryOf(M2DSliceContour const& contour) {
  std::ostringstream text;
  text << (contour.GetIsClosed() ? "closed " : "open ") << (contour.GetIsOuter() ? "outer" : "inner");
  for (auto const& [x, y] : PointsOf(contour)) text << ' ' << x << ',' << y;
  return text.str();
}

inline std::string GeometryOf(M2DSliceVectorBlock const& block) {
  std::ostringstream text;
  for (auto const& v : block) text << ' ' << v.x1 << ',' << v.y1 << '>' << v.x2 << ',' << v.y2;
  return text.str();
}

inline std::string GeometryOf(M2DSlicePointBlock const& block) {
  std::ostringstream text;
  for (auto const& [x, y] : PointsOf(block)) text << ' ' << x << ',' << y;
  return text.str();
}

/// All of an element.
template <class Element>
std::string TextOf(Element const& element) {
  return TextOf(element.GetVectorTypeInfo()) + " | " + GeometryOf(element);
}

/// All elements of a layer in their order.
template <class Layer>
std::vector<std::string> TextsOf(Layer const& layer) {
  std::vector<std::string> texts;
  for (auto const& element : layer) texts.push_back(TextOf(element));
  return texts;
}

}  // namespace testing_support
