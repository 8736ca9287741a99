#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/MStreamTextIn.h>

#include <map>
#include <string>

class BinaryInHolder;
class ISAXPersist;

namespace VelSAX {

/// Reads a document as a tree of tags. The order of the virtual operations is part of the interface.
class VELSDK_EXPORT ISAXReader {
 public:
  /// The children of the current tag go to `object`, which stays the caller's.
  virtual void ReadSubObject(ISAXPersist& object) = 0;
  /// The same; the reader owns `object` and destroys it after the parent's `HandleEndTag` for this tag.
  virtual void ReadOwnedSubObject(ISAXPersist* object) = 0;
  /// Reads the value of the current tag. False: it has none.
  virtual bool ReadString(std::string& value) = 0;
  /// The binary value of the current tag; false if it has none. The holder stays the reader's.
  virtual bool GetBinaryStream(BinaryInHolder*& holder) = 0;
  /// The attributes of the current tag, name to value.
  virtual std::map<std::string, std::string> GetAttributes() const = 0;
  /// The name of a tag around the current one; level 1 is the one directly around it.
  virtual std::string GetEnclosingTag(int level) const = 0;
  /// The text of the current tag as it stands; empty if it has none.
  virtual std::string GetTagText() const = 0;

  /// Reads the text of the current tag as a value. An empty text gives false and leaves the value. A text that cannot
  /// be parsed leaves the value too, yet gives true.
  template <class T>
  bool ReadValue(T& value) {
    std::string const text = GetTagText();
    if (text.empty()) return false;
    MStreamTextIn in(text);
    in >> value;
    return true;
  }

 protected:
  ~ISAXReader() = default;
};

}  // namespace VelSAX

/// The reader that elements are given.
class VELSDK_EXPORT MSAXReader : public VelSAX::ISAXReader {
 protected:
  ~MSAXReader() = default;
};
