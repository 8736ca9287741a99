#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>

#include <string>

namespace VelAM {

class FileContent;

/// Reads the content of an embedded file, the tag "Data", which stays in the document: no bytes are copied.
///
/// A "Path" is refused: it tells people where the file was, but a document is not to choose what files are opened.
class VELSDK_EXPORT FileContentRead final : public ISAXPersistHelper {
 public:
  /// `content` outlives this.
  explicit FileContentRead(FileContent* content);
  ~FileContentRead() override;

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;

 private:
  FileContent* m_content;
};

}  // namespace VelAM
