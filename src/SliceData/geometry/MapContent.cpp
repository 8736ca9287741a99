#include <SliceData/geometry/MapContent.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

namespace M2DSliceUtilities {

namespace {

template <class Layer>
void MapLayer(Layer& layer, iTransformation const& mapping, TransformOptions const& options) {
  for (auto& element : layer) Transform(element, mapping, options);
}

/// True for a slice that stands alone and has no record on disk.
bool NeverPages(M2DSlice const& slice) {
  bool has_record = false;
  M2DSlice::ForEachRow([&](auto row) { has_record |= row.Component(slice).GetTempFile() != nullptr; });
  return !slice._IsStackSlice() && !has_record;
}

/// A matrix that moves points and adds none.
bool CannotFail(iTransformation const& mapping, TransformOptions const& options) {
  return !options.splitLongSegments && dynamic_cast<TransformationMatrix const*>(&mapping) != nullptr;
}

}  // namespace

void MapContent(M2DSlice& slice, iTransformation const& mapping, TransformOptions const& options) {
  if (NeverPages(slice) && CannotFail(mapping, options)) {
    M2DSlice::ForEachRow([&](auto row) { MapLayer(*row.GetUpdate(slice), mapping, options); });
    return;
  }
  M2DSlice mapped(slice);
  M2DSlice::ForEachRow([&](auto row) { MapLayer(row.Component(mapped).GetData(), mapping, options); });

  // The accesses are the last that can fail. Nothing is left of the records on disk, whose extents may be old.
  M2DSlice::ForEachRow([&](auto row) { row.OnAccess(slice); });
  M2DSlice::ForEachRow([&](auto row) {
    row.OnChanged(slice);
    auto& content = row.Component(slice);
    content.Clear();
    content.ValidateData(row.Component(mapped).GetData(), true);
  });
}

void MapContent(M2DSliceStack& stack, iTransformation const& mapping, unsigned long& num_mapped,
                TransformOptions const& options) {
  for (; num_mapped < stack.GetNumSlices(); ++num_mapped) MapContent(*stack.GetSlice(num_mapped), mapping, options);
}

}  // namespace M2DSliceUtilities
