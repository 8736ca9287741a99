#pragma once

#include <SliceData/platform/sax/MSAXStreamBinaryOut.h>

/// A binary value that is being written. It is the writer's.
class VELSDK_EXPORT BinaryOutHolder {
 public:
  virtual MSAXStreamBinaryOut& GetStream() = 0;

 protected:
  ~BinaryOutHolder() = default;
};
