#include <SliceData/platform/file_io/MFile.h>
#include <SliceData/platform/file_io/MInputFile.h>
#include <SliceData/platform/file_io/TemporaryDirectory.h>
#include <SliceData/platform/properties/FileContent.h>

#include <algorithm>
#include <cerrno>
#include <libdeflate.h>
#include <system_error>
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

std::uint32_t ChecksumOf(MInputFile const& file) {
  constexpr long long piece_size = 1 << 16;
  std::unique_ptr<char[]> const piece(new char[piece_size]);
  std::uint32_t checksum = 0;
  for (long long offset = 0; offset < file.GetSize(); offset += piece_size) {
    auto const count = static_cast<std::size_t>(std::min(piece_size, file.GetSize() - offset));
    file.Read(offset, piece.get(), count);
    checksum = libdeflate_crc32(checksum, piece.get(), count);
  }
  return checksum;
}

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

bool FileContent::IsStill(MDocumentBytes const& bytes) const {
  bool const was_made_of_it = bytes.document != nullptr && m_bytes.document == bytes.document &&
                              m_bytes.part == bytes.part && m_bytes.offset == bytes.offset;
  if (!was_made_of_it || m_state != State::File) return was_made_of_it;
  MInputFile const file(GetPath());
  return static_cast<std::uint64_t>(file.GetSize()) == bytes.size && ChecksumOf(file) == bytes.crc;
}

std::string const& FileContent::GetPath() const {
  if (m_state == State::EmptyFileToBeMade || m_state == State::DocumentBytes) _MakeFile();
  if (m_state == State::File && ::access(m_path.c_str(), F_OK) != 0) {
    throw std::system_error(errno, std::generic_category(),
                            m_path + ": a scratch file has gone, and what it held with it; make that anew");
  }
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
  m_process = ::getpid();
  m_state = State::File;
}

void FileContent::_Clear() noexcept {
  if (m_process == ::getpid()) NewFile::Remove(m_path);
  m_path.clear();
  m_bytes = MDocumentBytes();
  m_state = State::Nothing;
}

}  // namespace VelAM
