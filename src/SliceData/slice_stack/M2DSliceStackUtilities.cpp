#include <SliceData/platform/units/MInternalUnits.h>
#include <SliceData/slice_model/HeightArithmetic.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>

namespace M2DSliceStackUtilities {

using HeightArithmetic::Difference;
using HeightArithmetic::Sum;

bool ConvertSourceToSliceStack(ISource2DSlices const& source, M2DSliceStack& stack) {
  stack.SetSliceParameters(source.GetSliceParameters());
  stack.SetSliceIOParameters(source.GetSliceIOParameters());
  stack.GetProperties() = source.GetProperties();
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) {
    auto const slice = source.GetSlice(i);
    stack.AddSlicePosition(slice->GetZArea())->Add(*slice);
  }
  return true;
}

bool StoreDataItemsInM2DSlice(M2DSliceConstDataItems const& items, M2DSlice& slice) {
  for (M2DSliceConstDataItem const& item : items.items) {
    if (auto const* const contour = item.GetContour()) slice.GetBorderUpdate()->AddContour() = *contour;
    if (auto const* const block = item.GetVectorBlock()) slice.GetVectorsUpdate()->AddVectorBlock() = *block;
    if (auto const* const block = item.GetPointBlock()) slice.GetPointsUpdate()->AddPointBlock() = *block;
  }
  return true;
}

void GetBoundingBox3D(M2DSliceStack const& stack, long& minX, long& minY, long& minZ, long& maxX, long& maxY,
                      long& maxZ) {
  M2DSliceXYArea area;
  minZ = area.minX;
  maxZ = area.maxX;
  if (unsigned long const count = stack.GetNumSlices(); count != 0) {
    area = stack.GetXYArea();
    minZ = stack.GetSlice(0)->GetZArea().GetBottom();
    maxZ = stack.GetSlice(count - 1)->GetZArea().GetTop();
  }
  minX = area.minX;
  minY = area.minY;
  maxX = area.maxX;
  maxY = area.maxY;
}

void InitializeUndefinedZRanges(M2DSliceStack& stack) {
  unsigned long const count = stack.GetNumSlices();
  for (unsigned long i = 0; i < count; ++i) {
    M2DSliceZArea& area = stack.GetSlice(i)->GetZArea();
    if (area.GetTypeInfo().thickness != 0) continue;
    long const z = area.GetZ();
    long bottom;
    if (i > 0) {
      bottom = stack.GetSlice(i - 1)->GetZArea().GetTop();
    } else if (count > 1) {
      bottom = Difference(Sum(z, z), stack.GetSlice(1)->GetZArea().GetZ());
    } else {
      double const length = VelSDK::Common::MInternalUnits::GetInstance().length;
      bottom = Difference(z, static_cast<int>(length >= 0 ? length + 0.5 : length - 0.5));
    }
    area.SetCustomRange(bottom, z);
  }
}

}  // namespace M2DSliceStackUtilities
