#pragma once

#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <string>

#include "support/Slices.h"

/// Writes a stack document: ten slices with points, areas, types of their own and Z ranges, none of which a CLI file
/// holds.
inline void WriteRichPart(std::string const& path) {
  SliceFormats::StackDocumentTarget target(path);
  target.GetProperties().SetProperty<double>("Density", 0.1);
  target.StartAddingSlices();
  for (long z = 300; z <= 3000; z += 300) {
    M2DSlice slice(z);
    slice.GetZArea().SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, z / 3});
    testing_support::FillAllComponents(slice, z);
    M2DSliceVectorTypeInfo record;
    record.SetType("Lattice Node");
    record.SetNumber("POWER", 1.5);
    slice.GetPointsUpdate()->GetFirst()->SetVectorTypeInfo(record);
    target.AddSlice(slice);
  }
  target.StopAddingSlices();
}
