#include <SliceFormats/cli/CliFile.h>

#include <algorithm>

namespace SliceFormats {

CliFile::CliFile(std::string const& path) : m_file(path, MInputFile::Order::Sequential) {}

void CliFile::Read(long long offset, char* buffer, std::size_t size) const {
  m_file.Read(offset, buffer, size);
}

void CliFile::Fail(long long offset, std::string const& what) const {
  if (!m_is_text) throw FormatError(GetPath(), "byte " + std::to_string(offset), what);
  long long line = 1;
  CliWindow window(*this);
  for (long long at = 0; at < offset;) {
    char const* const bytes = window.At(at, 1);
    long long const count = std::min<long long>(window.GetEnd() - bytes, offset - at);
    line += std::count(bytes, bytes + count, '\n');
    at += count;
  }
  throw FormatError(GetPath(), "line " + std::to_string(line), what);
}

bool CliWindow::_Load(long long offset, std::size_t size) {
  if (offset < 0 || offset > m_file.GetSize() || m_file.GetSize() - offset < static_cast<long long>(size)) return false;
  auto const count = std::min<long long>(static_cast<long long>(kSize), m_file.GetSize() - offset);
  m_begin = m_end = offset;
  m_file.Read(offset, m_bytes.get(), static_cast<std::size_t>(count));
  m_end = offset + count;
  return true;
}

}  // namespace SliceFormats
