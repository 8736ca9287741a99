#include <SliceData/platform/file_io/MInputFile.h>
#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/properties/FileContentWrite.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/MSAXWriter.h>

#include <algorithm>
#include <system_error>

namespace VelAM {

namespace {

void CopyFile(std::string const& path, MSAXStreamBinaryOut& out) {
  MInputFile const file(path);
  for (long long offset = 0; offset < file.GetSize();) {
    auto const piece = std::min<long long>(file.GetSize() - offset, MSAXStreamBinaryOut::kMaxPiece);
    auto const size = static_cast<std::size_t>(piece);
    file.Read(offset, out.PrepareWrite(size), size);
    out.CommitWrite(size);
    offset += piece;
  }
  if (MInputFile(path).GetSize() != file.GetSize()) {
    throw std::system_error(std::make_error_code(std::errc::io_error),
                            path + ": has changed while it was read; try again when nobody writes to it");
  }
}

}  // namespace

FileContentWrite::FileContentWrite(FileContent const* content, FileContentWriteContext const& context)
    : m_content(content), m_context(context) {}

FileContentWrite::~FileContentWrite() = default;

bool FileContentWrite::Write(MSAXWriter& writer) const {
  if (m_context.embedded != 1) return writer.WriteTextTag("Path", m_content->GetPath());

  BinaryOutHolder* holder = writer.CreateBinaryStream();
  MSAXStreamBinaryOut& out = holder->GetStream();
  if (MDocumentBytes const* const bytes = m_content->GetDocumentBytes()) {
    bytes->CopyTo([&](char const* piece, std::size_t count) { out.Write(piece, count); });
  } else if (std::string const& path = m_content->GetPath(); !path.empty()) {
    CopyFile(path, out);
  }
  writer.WriteBinaryStream("Data", &holder);
  return true;
}

}  // namespace VelAM
