#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/FileContentWriteContext.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>

namespace VelAM {

class FileContent;

/// Writes an embedded file: its content as the binary tag "Data", or its path as the tag "Path", as the context says.
///
/// Content that rests in another document is copied from there piece by piece, without a scratch file. `Write` throws
/// `MDocumentError` if that document does not hold the bytes that were written, and `std::system_error` if the scratch
/// file has gone, shrinks or grows meanwhile.
class VELSDK_EXPORT FileContentWrite final : public ISAXPersistHelper {
 public:
  /// `content` outlives this.
  FileContentWrite(FileContent const* content, FileContentWriteContext const& context);
  ~FileContentWrite() override;

  bool Write(MSAXWriter& writer) const override;

 private:
  FileContent const* m_content;
  FileContentWriteContext m_context;
};

}  // namespace VelAM
