#pragma once

#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>
#include <SliceData/slice_stack/ISource2DSlices.h>

#include <sstream>
#include <string>

#include "support/Slices.h"

/// Slices as text that can be compared and read, an element a line.
namespace testing_support {

inline void Describe(std::ostream& out, M2DSliceVectorTypeInfo const& info) {
  out << " [" << info.GetTypeName();
  // Those at their default are kept by no file.
  for (auto const& [key, value] : info.GetIndices()) {
    if (value != -1) out << ' ' << key->name << '=' << value;
  }
  for (auto const& [key, value] : info.GetFlags()) {
    if (value) out << ' ' << key->name;
  }
  for (auto const& [name, value] : info.GetNumbers()) out << ' ' << *name << '=' << value;
  out << ']';
}

inline void Describe(std::ostream& out, M2DSliceContourLayer const& layer, char const* kind) {
  for (M2DSliceContour const& contour : layer) {
    out << kind << (!contour.GetIsClosed() ? "open" : contour.GetIsOuter() ? "outer" : "hole");
    out << (!contour.GetIsClosed() && contour.GetIsOuter() ? " flagged outer" : "");
    Describe(out, contour.GetVectorTypeInfo());
    for (auto const& point : contour.GetPoints()) out << ' ' << point.x << ',' << point.y;
    out << '\n';
  }
}

inline std::string Describe(M2DSlice const& slice) {
  std::ostringstream out;
  out << "z " << slice.GetZArea().GetZ() << '\n';
  Describe(out, slice.GetBorder(), "");
  for (M2DSliceVectorBlock const& block : slice.GetVectors()) {
    out << "vectors";
    Describe(out, block.GetVectorTypeInfo());
    for (M2DSliceVector const& v : block) out << ' ' << v.x1 << ',' << v.y1 << '-' << v.x2 << ',' << v.y2;
    out << '\n';
  }
  for (M2DSlicePointBlock const& block : slice.GetPoints()) {
    out << "points";
    Describe(out, block.GetVectorTypeInfo());
    for (M2DSlicePoint const& point : block) out << ' ' << point.x << ',' << point.y;
    out << '\n';
  }
  Describe(out, slice.GetAreas(), "area ");
  return out.str();
}

inline std::string Describe(M2DSliceZArea const& area) {
  std::ostringstream out;
  out << area.GetBottom() << ".." << area.GetTop() << ' ' << area.GetEffectiveZ() << ' ' << area.GetTypeInfo().thickness
      << ' ' << static_cast<int>(area.GetTypeInfo().type) << static_cast<int>(area.GetTypeInfo().effectiveType) << ' ';
  return out.str();
}

/// With its Z range, which documents keep.
inline std::string DescribeWhole(M2DSlice const& slice) {
  return Describe(slice.GetZArea()) + Describe(slice);
}

inline std::string Describe(ISource2DSlices const& source) {
  std::string text;
  unsigned long const num_slices = source.StartGettingSlices();
  for (unsigned long i = 0; i < num_slices; ++i) text += Describe(*source.GetSlice(i));
  source.StopGettingSlices();
  return text;
}
inline std::string DescribeWhole(ISource2DSlices const& source) {
  std::string text;
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) text += DescribeWhole(*source.GetSlice(i));
  return text;
}

}  // namespace testing_support
