#include <SliceData/geometry/MapContent.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

namespace M2DSliceUtilities {

namespace {

template <class Layer>
void MapLayer(Layer& layer, iTransformation const& mapping, TransformOptions const& options) {
  for (auto& element : layer) Transform(element, mapping, options);
}

}  // namespace

void MapContent(M2DSlice& slice, iTransformation const& mapping, TransformOptions const& options) {
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
