#pragma once

#include <SliceData/platform/sax/MDocumentBytes.h>
#include <SliceData/platform/sax/MSAXStreamBinaryIn.h>

/// A binary value that is being read. It is the reader's, and good until the tag of the value ends.
class VELSDK_EXPORT BinaryInHolder {
 public:
  virtual MSAXStreamBinaryIn& GetStream() = 0;
  /// Where the value lies, for whoever wants its bytes later.
  virtual MDocumentBytes GetBytes() const = 0;

 protected:
  ~BinaryInHolder() = default;
};
