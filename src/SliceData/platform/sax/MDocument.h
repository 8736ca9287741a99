#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MZipReader.h>
#include <SliceData/platform/sax/MDocumentBytes.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A document that is open for reading: its parts, and what its table of contents tells.
///
/// A document is an archive of numbered parts. Each is a piece of the tag tree as XML and, where there are binary
/// values, a stream with their bytes. The contents say for each child of the root in which part it begins, so that one
/// can be read without the others. Nothing is kept in memory but the list of parts. Threads may read at the same time.
///
/// Throws `MDocumentError` for what is wrong with the document, `std::system_error` if the file cannot be opened or
/// read, and `std::bad_alloc`.
class VELSDK_EXPORT MDocument {
 public:
  static constexpr unsigned long kMajorVersion = 1;
  static constexpr unsigned long kMinorVersion = 0;

  /// A child of the root as the contents list it.
  struct Child {
    std::string tag;
    unsigned long part = 0;     ///< in which it begins, counted from 0
    unsigned long ordinal = 0;  ///< among the children of the root that begin in this part
    unsigned long offset = 0;   ///< of its start tag in the text of the part
    /// The leaves in its first two tags, each name once. A child that is a leaf itself is the only one.
    std::vector<std::pair<std::string, std::string>> leaves;

    /// The text of a leaf; null if there is none.
    std::string const* FindLeaf(char const* name) const;
  };

  explicit MDocument(std::string path);
  /// A document that is a value of another one, read in its place. The bytes are not checked as a whole: what is read
  /// of them is.
  explicit MDocument(MDocumentBytes const& bytes);

  std::string const& GetPath() const { return m_zip.GetPath(); }
  /// Of the file, in bytes.
  std::uint64_t GetSize() const { return m_zip.GetSize(); }
  /// What its writer has called it.
  std::string const& GetKind() const { return m_kind; }
  /// The second number of its format. A larger one than `kMinorVersion` may have more tags and attributes.
  unsigned long GetMinorVersion() const { return m_minor_version; }
  bool IsNewer() const { return m_minor_version > kMinorVersion; }
  unsigned long GetNumParts() const { return m_parts.size(); }

  /// Calls `visit` with every child of the root in order, from the contents alone.
  void VisitChildren(std::function<void(Child const& child)> const& visit) const;

  /// The text of a part of the tree, checked.
  std::string ReadTree(unsigned long part) const;
  std::uint64_t GetStreamSize(unsigned long part) const;
  /// Bytes of a stream. `offset` and `count` lie inside it. They are not checked.
  void ReadStream(unsigned long part, std::uint64_t offset, void* bytes, std::size_t count) const;

  /// Throws an error about a part of the tree or its stream: `what` is wrong with it, the advice is added.
  [[noreturn]] void FailInTree(unsigned long part, std::uint64_t offset, std::string const& what) const;
  [[noreturn]] void FailInStream(unsigned long part, std::uint64_t offset, std::string const& what) const;

 private:
  struct Part {
    MZipReader::Entry const* tree;
    MZipReader::Entry const* stream;  ///< null without binary values
  };

  void _ReadContents();
  MZipReader::Entry const& _GetStream(MDocumentBytes const& bytes) const;

  MZipReader m_zip;
  std::string m_kind;
  unsigned long m_minor_version = 0;
  std::vector<Part> m_parts;
};
