#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/sax/MDocumentTag.h>
#include <SliceData/platform/sax/MSAXWriter.h>

#include <memory>
#include <string>

/// Writes a document to a file, which appears under its name when `Finish` returns.
///
/// Memory stays bounded however large the document is: a piece of the tree, and a buffer for binary values. The same
/// tags give the same bytes; names of binary streams are not kept. One binary value is written at a time. A
/// tag holds one text, one binary value or other tags.
///
/// Throws `std::system_error` where the disk refuses and `std::logic_error` for tags that do not fit together, for more
/// than 250 levels, names above 1 KiB and attributes above 64 KiB. `EndTag` keeps a failure back until `Finish`, since
/// destructors call it.
class VELSDK_EXPORT MDocumentWriter final : public MSAXWriter {
 public:
  /// \param path      of the file
  /// \param kind      what the document is, for who opens it
  /// \param existing  what becomes of a file that has the name already
  MDocumentWriter(std::string path, std::string const& kind,
                  MPendingFile::Existing existing = MPendingFile::Existing::Replace);
  /// Without `Finish`, no file is left.
  ~MDocumentWriter();
  MDocumentWriter(MDocumentWriter const&) = delete;
  MDocumentWriter& operator=(MDocumentWriter const&) = delete;

  void StartTag(char const* name) override;
  void EndTag(char const* name) override;
  void RegisterRootObject(ISAXReference* root) override;
  BinaryOutHolder* CreateBinaryStream() override;
  BinaryOutHolder* CreateBinaryStream(std::string const& name) override;
  bool WriteTextTag(char const* name, std::string const& value) override;
  void WriteBinaryStream(char const* name, BinaryOutHolder** holder) override;
  bool WriteTextAttribute(char const* name, std::string const& value) override;
  void WriteTextValue(std::string const& text) override;

  /// Writes a child of the root as it stands in another document; the format then has that one's version, if it is
  /// newer. Cheap for one child after the other: the part of the last one is kept. False, with nothing done, inside a
  /// tag.
  bool CopyTag(MDocumentTag const& tag);

  /// Writes a tag with a number that is not known yet: `SetLateNumber` gives it before `Finish`. Once a document, among
  /// the first children of the root.
  void WriteLateTag(char const* name);
  void SetLateNumber(unsigned long number);

  /// Ends the document and brings it to the disk; see `MPendingFile::Seal`. Nothing may be written afterwards.
  void Seal(bool durable = true);
  /// Seals the document and gives it its name.
  void Finish(bool durable = true);

 private:
  class Writing;
  std::unique_ptr<Writing> m_writing;
};
