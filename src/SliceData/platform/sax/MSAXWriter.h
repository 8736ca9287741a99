#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXReference.h>
#include <SliceData/platform/sax/MStreamTextOut.h>

#include <string>

class BinaryOutHolder;

namespace VelSAX {

/// Writes a document as a tree of tags. The order of the virtual operations is part of the interface.
class VELSDK_EXPORT ISAXWriter {
 public:
  /// Opens a child tag of the current tag.
  virtual void StartTag(char const* name) = 0;
  /// Closes the tag of that name, which is the current one.
  virtual void EndTag(char const* name) = 0;
  /// Told once, first, by the element that is the root of what is written. May be null.
  virtual void RegisterRootObject(ISAXReference* root) = 0;
  /// A new binary stream without a name. The holder stays the writer's.
  virtual BinaryOutHolder* CreateBinaryStream() = 0;
  virtual BinaryOutHolder* CreateBinaryStream(std::string const& name) = 0;
  /// Writes a whole tag with a text as its value. False: writing failed.
  virtual bool WriteTextTag(char const* name, std::string const& value) = 0;
  /// Writes a tag with the holder's bytes as its value and takes the holder back.
  virtual void WriteBinaryStream(char const* name, BinaryOutHolder** holder) = 0;
  /// Writes an attribute on the current tag. False: writing failed.
  virtual bool WriteTextAttribute(char const* name, std::string const& value) = 0;
  /// Writes the value of the current tag.
  virtual void WriteTextValue(std::string const& text) = 0;

  /// Writes a value as the text of the current tag.
  template <class T>
  bool WriteValue(T const& value) {
    MStreamTextOut out;
    out << value;
    WriteTextValue(out.str());
    return true;
  }

  /// Writes a value as an attribute of the current tag.
  template <class T>
  bool WriteAttribute(char const* name, T const& value) {
    MStreamTextOut out;
    out << value;
    return WriteTextAttribute(name, out.str());
  }

 protected:
  ~ISAXWriter() = default;
};

}  // namespace VelSAX

/// The writer that elements are given.
class VELSDK_EXPORT MSAXWriter : public VelSAX::ISAXWriter {
 protected:
  ~MSAXWriter() = default;
};
