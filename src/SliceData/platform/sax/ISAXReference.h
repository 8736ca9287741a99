#pragma once

#include <SliceData/platform/common/Export.h>

/// Something in a document that other parts of the document may refer to.
class VELSDK_EXPORT ISAXReference {
 public:
  virtual ~ISAXReference();
};
