#include <SliceData/platform/file_io/MFile.h>
#include <SliceData/platform/file_io/TemporaryDirectory.h>
#include <SliceData/platform/properties/FileContent.h>

#include <unistd.h>
#include <utility>

namespace VelAM {

using VelSDK::FileIO::FileSystem::TemporaryDirectory;

namespace {

/// A scratch file that is removed unless it is taken.
class NewFile {
 public:
  NewFile() : m_path(TemporaryDirectory("").GetTemporaryFilePath()) {}
  ~NewFile() { Remove(m_path); }
  NewFile(NewFile const&) = delete;
  NewFile& operator=(NewFile const&) = delete;

  std::string const& GetPath() const { return m_path; }
  std::string Take() { return std::exchange(m_path, {}); }

  /// Does nothing for an empty path.
  static void Remove(std::string const& path) noexcept {
    if (path.empty()) return;
    ::unlink(path.c_str());
    TemporaryDirectory::OnFileRemoved(path);
  }

 private:
  std::string m_path;
};

}  // namespace

FileContent::FileContent() = default;

FileContent::~FileContent() {
  _Clear();
}

void FileContent::CreateTempFile(bool replace) {
  if (!replace && m_state != State::Nothing) return;
  _Clear();
  m_state = State::EmptyFileToBeMade;
}

void FileContent::SetDocumentBytes(MDocumentBytes bytes) {
  _Clear();
  m_bytes = std::move(bytes);
  m_state = State::DocumentBytes;
}

MDocumentBytes const* FileContent::GetDocumentBytes() const {
  return m_state == State::DocumentBytes ? &m_bytes : nullptr;
}

std::string const& FileContent::GetPath() const {
  if (m_state == State::EmptyFileToBeMade || m_state == State::DocumentBytes) _MakeFile();
  return m_path;
}

void FileContent::_MakeFile() const {
  NewFile created;
  if (m_state == State::DocumentBytes) {
    MFile file(1 << 16);
    file.OPEN_UPDATE(created.GetPath().c_str());  // a failure is told by the first write
    m_bytes.CopyTo([&](char const* bytes, std::size_t count) { file.WRITE(bytes, count); });
    file.CLOSE();
  }
  m_path = created.Take();
  m_bytes = MDocumentBytes();
  m_state = State::File;
}

void FileContent::_Clear() noexcept {
  NewFile::Remove(m_path);
  m_path.clear();
  m_bytes = MDocumentBytes();
  m_state = State::Nothing;
}

}  // namespace VelAM
