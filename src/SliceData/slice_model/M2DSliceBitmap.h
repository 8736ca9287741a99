#pragma once

#include <SliceData/platform/common/Export.h>

/// The place of a raster image of a slice. Nothing in this library makes or fills one.
class VELSDK_EXPORT M2DSliceBitmap {
 public:
  virtual ~M2DSliceBitmap();
};
