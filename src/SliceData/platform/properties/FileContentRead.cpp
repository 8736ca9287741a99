#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/properties/FileContentRead.h>
#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/MSAXReader.h>

namespace VelAM {

FileContentRead::FileContentRead(FileContent* content) : m_content(content) {}

FileContentRead::~FileContentRead() = default;

bool FileContentRead::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag != "Data") return false;
  BinaryInHolder* holder = nullptr;
  if (!reader.GetBinaryStream(holder)) return false;
  m_content->SetDocumentBytes(holder->GetBytes());
  return true;
}

}  // namespace VelAM
