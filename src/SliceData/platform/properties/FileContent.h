#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/MDocumentBytes.h>

#include <string>

namespace VelAM {

/// A file that belongs to an object and goes with it, such as a document inside a document.
///
/// After reading, the content rests in the document that it came from, and costs nothing but a reference. It becomes a
/// scratch file (see `TemporaryDirectory`) once its path is asked for; from then on that file is the content. The
/// const operations make files, so one thread at a time.
class VELSDK_EXPORT FileContent {
 public:
  /// No content, and no path.
  FileContent();
  /// Removes the scratch file, in the process that made it: one that was forked off leaves it alone. Never throws.
  ~FileContent();
  FileContent(FileContent const&) = delete;
  FileContent& operator=(FileContent const&) = delete;

  /// The content becomes an empty scratch file, which is made when its path is first asked for.
  ///
  /// \param replace  false leaves content that is there already as it is
  void CreateTempFile(bool replace);

  /// The content becomes a value of a document. A scratch file that was there is removed.
  void SetDocumentBytes(MDocumentBytes bytes);
  /// The value of a document that is the content; null if it has none or has become a file.
  MDocumentBytes const* GetDocumentBytes() const;
  /// True if the content is this value of a document, or a file that was made of it and holds the same bytes still.
  /// Throws as `GetPath`.
  bool IsStill(MDocumentBytes const& bytes) const;

  /// The path of the scratch file, which is made and filled first if need be; empty without content. The file may be
  /// written and replaced, and is not to be removed. Throws `MDocumentError` if the document does not hold the bytes
  /// that were written, and `std::system_error` if the file cannot be made, there is no room for them, or somebody has
  /// removed it: what it held is lost then.
  std::string const& GetPath() const;

 private:
  enum class State { Nothing, EmptyFileToBeMade, DocumentBytes, File };

  void _MakeFile() const;
  void _Clear() noexcept;

  mutable State m_state = State::Nothing;
  mutable MDocumentBytes m_bytes;  ///< of which the content was made
  mutable std::string m_path;
  mutable int m_process = 0;  ///< which made the file
};

}  // namespace VelAM
