#include <SliceData/geometry/OrientBorder.h>
#include <SliceData/platform/boolean/OrientBorder2D.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

namespace M2DSliceUtilities {

void OrientBorder(M2DSliceContourLayer& layer) {
  AU::OrientBorder2D(layer, nullptr);
}

}  // namespace M2DSliceUtilities
