#pragma once

#include <SliceData/platform/common/Export.h>

/// What contours, vector blocks and point blocks have in common, so that they can travel as one kind of thing.
class VELSDK_EXPORT I2DSliceDataBlock {
 public:
  virtual ~I2DSliceDataBlock();
};
